#include "MakeBundleRun.h"

#include "base/win_owned.h"
#include "bundle/SlideRecords.h"
#include "makebundle/WinText.h"
#include "support/BundleWriter.h"
#include "support/TestPictures.h"
#include "support/WaitFor.h"

#include <turbojpeg.h>

namespace {

using support::Bytes;
using support::BytesOf;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

using Pack = MakeBundleTest;

SlideDims DimsIn(const std::string& bundle, const char* name) {
  const Bytes record = MemberOf(bundle, "dims", name);
  return DecodeSlideDims(record.data(), record.size());
}

std::string CaptionIn(const std::string& bundle, const char* name) {
  const Bytes record = MemberOf(bundle, "caps", name);
  const SlideCaption caption = DecodeSlideCaption(record.data(), record.size());
  EXPECT_EQ(caption.name, name);
  return caption.text;
}

// --- What goes in ---

TEST_F(Pack, MakesTheFourCategories) {
  Picture("a.jpg", "blocks.jpg");
  const RunResult run = RunPack();
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("1 picture, 0 captions, 0 pieces of music"));
  VFBUNDLE bundle(out.c_str());
  std::vector<std::string> names;
  if (bundle.categories.First()) {
    do names.push_back(bundle.categories.Current()->name);
    while (bundle.categories.Next());
  }
  EXPECT_THAT(names, ElementsAre("image", "dims", "caps", "music"));
  EXPECT_EQ(bundle.FindCategory("music")->files.Count(), 0);
}

TEST_F(Pack, UprightPicturesStayAsTheyAreByteForByte) {
  for (const char* kind : {"plain.png", "plain.gif", "plain.bmp", "plain.webp", "plain.tiff"})
    Picture(kind, kind);
  Picture("blocks.jpg", "blocks-1.jpg");
  ASSERT_EQ(RunPack().exitCode, 0);
  for (const char* kind : {"plain.png", "plain.gif", "plain.bmp", "plain.webp", "plain.tiff"}) {
    EXPECT_EQ(MemberOf(out, "image", kind), support::ReadWholeFile(Fixture(kind))) << kind;
    EXPECT_EQ(DimsIn(out, kind).width, 40u) << kind;
    EXPECT_EQ(DimsIn(out, kind).height, 30u) << kind;
  }
  EXPECT_EQ(MemberOf(out, "image", "blocks.jpg"), support::ReadWholeFile(Fixture("blocks-1.jpg")));
}

TEST_F(Pack, BytesTellThePicturesNotTheNames) {
  Picture("picture.txt.dat", "plain.png");
  Text("fake.jpg", "no picture at all");
  const RunResult run = RunPack();
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(NamesIn(out, "image"), ElementsAre("picture.txt.dat"));
  EXPECT_THAT(run.err, AllOf(HasSubstr("note: "), HasSubstr("fake.jpg: passed over, no picture")));
}

TEST_F(Pack, FoldersAndHiddenFilesArePassedOverWithANote) {
  Picture("a.jpg", "blocks.jpg");
  temp.MakeFolder("in\\below");
  Picture("secret.jpg", "blocks.jpg");
  SetFileAttributesA((in + "\\secret.jpg").c_str(), FILE_ATTRIBUTE_HIDDEN);
  const RunResult run = RunPack();
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.err, AllOf(HasSubstr("below: passed over, a folder"),
                             HasSubstr("secret.jpg: passed over, a hidden file")));
  EXPECT_THAT(NamesIn(out, "image"), ElementsAre("a.jpg"));
}

TEST_F(Pack, NamesGoInPeoplesOrder) {
  for (const char* name : {"img 10.jpg", "IMG 9.jpg", "img 1.jpg", "Zoo.png", "apple.jpg"})
    Picture(name, "blocks.jpg");
  ASSERT_EQ(RunPack().exitCode, 0);
  const auto order = ElementsAre("apple.jpg", "img 1.jpg", "IMG 9.jpg", "img 10.jpg", "Zoo.png");
  EXPECT_THAT(NamesIn(out, "image"), order);
  EXPECT_THAT(NamesIn(out, "dims"), order);
  EXPECT_THAT(NamesIn(out, "caps"), order);
}

TEST_F(Pack, DateOrderPutsUndatedPicturesLast) {
  for (const char* name : {"date-0.jpg", "date-1.jpg", "date-2.jpg"}) Picture(name, name);
  ASSERT_EQ(RunPack({"--order", "date"}).exitCode, 0);
  EXPECT_THAT(NamesIn(out, "image"), ElementsAre("date-2.jpg", "date-1.jpg", "date-0.jpg"));
}

TEST_F(Pack, OddNamesStayAsTheyAre) {
  for (const char* name :
       {"with blank.jpg", "#1 & 'more'!.jpg", "no extension", "caf\xC3\xA9.jpg", "-dash.jpg"})
    Picture(name, "blocks.jpg");
  const RunResult run = RunPack();
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(NamesIn(out, "image"),
              testing::UnorderedElementsAre("with blank.jpg", "#1 & 'more'!.jpg", "no extension",
                                            "caf\xE9.jpg", "-dash.jpg"));
  EXPECT_EQ(DimsIn(out, "caf\xE9.jpg").name, "caf\xE9.jpg");
}

TEST_F(Pack, NameBeyondTheCodePageIsAnErrorThatNamesIt) {
  Picture("\xE6\x97\xA5\xE6\x9C\xAC.jpg", "blocks.jpg");
  const RunResult run = RunPack();
  DeleteFileW(WideFromUtf8(in + "\\\xE6\x97\xA5\xE6\x9C\xAC.jpg").c_str());
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, AllOf(HasSubstr("\xE6\x97\xA5\xE6\x9C\xAC.jpg"), HasSubstr("code page")));
}

// A file system with case holds both; Windows' own doesn't, and nothing is left to test.
TEST_F(Pack, NamesThatDifferInCaseOnlyAreAnError) {
  const std::string linuxFolder = std::string(MAKEBUNDLE_FIXTURES) + "/same-names";
  const RunResult run = RunMakeBundle({"pack", out, "--pictures", linuxFolder});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, AllOf(HasSubstr("A.jpg"), HasSubstr("a.jpg"), HasSubstr("case of letters")));
  EXPECT_THAT(TreeOf(temp.Path()), ElementsAre("in"));
}

TEST_F(Pack, NameThatStartsWithAQuestionMarkIsAnError) {
  const RunResult run = RunMakeBundle(
      {"pack", out, "--pictures", std::string(MAKEBUNDLE_FIXTURES) + "/question-mark"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("?a.jpg"));
}

TEST_F(Pack, EmptyFolderIsAnError) {
  const RunResult run = RunPack();
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, AllOf(HasSubstr("error: "), HasSubstr(in), HasSubstr("no picture")));
}

TEST_F(Pack, MissingFolderIsAnErrorThatNamesIt) {
  const RunResult run = RunMakeBundle({"pack", out, "--pictures", Path("nowhere")});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("nowhere"));
}

// --- Orientation ---

struct Turned {
  const char* name;
  int width, height;  // as stored in the file
};

class EveryOrientation : public MakeBundleTest, public testing::WithParamInterface<int> {
 protected:
  // Packs NAME-n.jpg and compares what is stored with what another program
  // shows of it.
  void ExpectUpright(const Turned& picture, int tolerance) {
    const std::string name = std::string(picture.name) + "-" + std::to_string(GetParam());
    Picture("a.jpg", name + ".jpg");
    run = RunPack();
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const bool swapped = GetParam() >= 5;
    const int width = swapped ? picture.height : picture.width;
    const int height = swapped ? picture.width : picture.height;
    stored = MemberOf(out, "image", "a.jpg");
    EXPECT_TRUE(
        support::PixelsNear(Decoded(stored), RawFixture(name + ".rgb", width, height), tolerance));
    EXPECT_EQ(DimsIn(out, "a.jpg").width, static_cast<std::uint32_t>(width));
    EXPECT_EQ(DimsIn(out, "a.jpg").height, static_cast<std::uint32_t>(height));
    EXPECT_EQ(RunMakeBundle({"verify", out}).err, "") << "no orientation must be left";
  }
  RunResult run;
  Bytes stored;
};
INSTANTIATE_TEST_SUITE_P(Pack, EveryOrientation, testing::Range(1, 9));

TEST_P(EveryOrientation, WholeBlocksComeOutUpright) {
  ExpectUpright({"blocks", 64, 48}, 6);
  EXPECT_THAT(run.err, Not(HasSubstr("saved anew")));
  EXPECT_EQ(run.out.find("1 picture turned upright without loss") != std::string::npos,
            GetParam() != 1)
      << run.out;
}

TEST_P(EveryOrientation, PartsOfBlocksComeOutUpright) { ExpectUpright({"uneven", 61, 47}, 10); }

// The operation that leads back from what each orientation's turn gives.
Bytes TransformedBy(int operation, const Bytes& jpeg) {
  tjhandle codec = tjInitTransform();
  tjtransform transform{};
  transform.op = operation;
  transform.options = TJXOPT_PERFECT | TJXOPT_COPYNONE;
  unsigned char* data = nullptr;
  unsigned long size = 0;
  const int failed = tjTransform(codec, jpeg.data(), static_cast<unsigned long>(jpeg.size()), 1,
                                 &data, &size, &transform, 0);
  EXPECT_EQ(failed, 0);
  const Bytes result(data, data + size);
  tjFree(data);
  tjDestroy(codec);
  return result;
}

TEST_P(EveryOrientation, WholeBlocksLoseNothing) {
  constexpr int kWayBack[] = {TJXOP_NONE,   TJXOP_NONE,       TJXOP_HFLIP,
                              TJXOP_ROT180, TJXOP_VFLIP,      TJXOP_TRANSPOSE,
                              TJXOP_ROT270, TJXOP_TRANSVERSE, TJXOP_ROT90};
  ExpectUpright({"blocks", 64, 48}, 6);
  const Bytes original =
      support::ReadWholeFile(Fixture("blocks-" + std::to_string(GetParam()) + ".jpg"));
  EXPECT_EQ(TransformedBy(kWayBack[GetParam()], stored), TransformedBy(TJXOP_NONE, original));
}

TEST_F(Pack, PartsOfBlocksAreSavedAnewWithANote) {
  Picture("a.jpg", "uneven-6.jpg");
  const RunResult run = RunPack();
  EXPECT_THAT(run.err, AllOf(HasSubstr("a.jpg"), HasSubstr("saved anew")));
  EXPECT_THAT(run.out, HasSubstr("1 picture turned upright and saved anew"));
  // Four parts of a file's worth of colour: no halving.
  int width = 0, height = 0, sampling = 0, colours = 0;
  const Bytes jpeg = MemberOf(out, "image", "a.jpg");
  tjhandle codec = tjInitDecompress();
  tjDecompressHeader3(codec, jpeg.data(), static_cast<unsigned long>(jpeg.size()), &width, &height,
                      &sampling, &colours);
  tjDestroy(codec);
  EXPECT_EQ(sampling, TJSAMP_444);
}

TEST_F(Pack, EveryKindOfJpegIsTurned) {
  const Turned kinds[] = {{"full", 72, 40},
                          {"wide", 64, 48},
                          {"progressive", 64, 48},
                          {"gray", 64, 48},
                          {"cmyk", 64, 48}};
  for (const Turned& kind : kinds)
    Picture(std::string(kind.name) + ".jpg", std::string(kind.name) + ".jpg");
  const RunResult run = RunPack();
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("5 pictures turned upright without loss"));
  for (const Turned& kind : kinds) {
    const std::string name = kind.name;
    EXPECT_TRUE(support::PixelsNear(Decoded(MemberOf(out, "image", (name + ".jpg").c_str())),
                                    RawFixture(name + ".rgb", kind.height, kind.width), 8))
        << name;
  }
}

TEST_F(Pack, OtherFormatsAreTurnedToo) {
  for (const char* name : {"turned.png", "turned.webp", "turned.tiff"}) Picture(name, name);
  const RunResult run = RunPack();
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("3 pictures turned upright and saved anew"));
  for (const char* name : {"turned.png", "turned.webp", "turned.tiff"}) {
    EXPECT_TRUE(support::PixelsNear(Decoded(MemberOf(out, "image", name)),
                                    RawFixture("turned.rgb", 30, 40), 10))
        << name;
    EXPECT_EQ(DimsIn(out, name).width, 30u);
  }
}

// --- Captions ---

TEST_F(Pack, CaptionStandsInTheTextFileBesideThePicture) {
  Picture("a.jpg", "blocks.jpg");
  Picture("b.jpg", "blocks.jpg");
  Text("A.TXT", "\xEF\xBB\xBF" "A mill\nby the caf\xC3\xA9\n\n");
  const RunResult run = RunPack();
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out, HasSubstr("2 pictures, 1 caption,"));
  EXPECT_EQ(CaptionIn(out, "a.jpg"), "A mill\r\nby the caf\xE9");
  EXPECT_EQ(CaptionIn(out, "b.jpg"), "")
      << "a picture without a caption has an empty record of its own";
}

TEST_F(Pack, AmpersandIsStoredAsTheShowDrawsIt) {
  Picture("a.jpg", "blocks.jpg");
  Text("a.txt", "Salt & pepper");
  ASSERT_EQ(RunPack().exitCode, 0);
  EXPECT_EQ(CaptionIn(out, "a.jpg"), "Salt && pepper");
}

TEST_F(Pack, CharactersBeyondTheCodePageAreToldOf) {
  Picture("a.jpg", "blocks.jpg");
  Text("a.txt", "Kyoto \xE4\xBA\xAC");
  const RunResult run = RunPack();
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.err, AllOf(HasSubstr("warning: "), HasSubstr("a.txt")));
  EXPECT_EQ(CaptionIn(out, "a.jpg"), "Kyoto ?");
}

TEST_F(Pack, CaptionThatIsNotUtf8IsAnErrorThatNamesTheFile) {
  Picture("a.jpg", "blocks.jpg");
  for (const std::string& text : {std::string("caf\xE9"),
                                  std::string("\xFF\xFE"
                                              "a\0",
                                              4),
                                  std::string("a\0b", 3)}) {
    Text("a.txt", text);
    const RunResult run = RunPack();
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("a.txt"));
  }
}

TEST_F(Pack, TextWithoutAPictureIsPassedOverWithANote) {
  Picture("a.jpg", "blocks.jpg");
  Text("b.txt", "\xFF not even looked into");
  const RunResult run = RunPack();
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.err, HasSubstr("b.txt: passed over, there is no picture of that name"));
}

TEST_F(Pack, CaptionsFromPicturesComeOnlyIfAskedFor) {
  Picture("exif.jpg", "exif.jpg");
  ASSERT_EQ(RunPack().exitCode, 0);
  EXPECT_EQ(CaptionIn(out, "exif.jpg"), "");
}

TEST_F(Pack, CaptionsFromPicturesAreReadFromIptcAndExif) {
  for (const char* name :
       {"exif.jpg", "iptc.jpg", "both.jpg", "comment.jpg", "utf8.jpg", "latin.jpg"})
    Picture(name, name);
  Picture("own.jpg", "exif.jpg");
  Text("own.txt", "From the text file");
  const RunResult run = RunPack({"--captions-from-picture"});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(CaptionIn(out, "exif.jpg"), "From EXIF");
  EXPECT_EQ(CaptionIn(out, "iptc.jpg"), "From IPTC");
  EXPECT_EQ(CaptionIn(out, "both.jpg"), "From IPTC");
  EXPECT_EQ(CaptionIn(out, "comment.jpg"), "Gr\xFC\xDF" "e");
  EXPECT_EQ(CaptionIn(out, "utf8.jpg"), "Caf\xE9 && Bar");
  EXPECT_EQ(CaptionIn(out, "latin.jpg"), "Caf\xE9");
  EXPECT_EQ(CaptionIn(out, "own.jpg"), "From the text file");
}

// --- Focus ---

TEST_F(Pack, FocusFileSetsTheFlags) {
  for (const char* name : {"a b.jpg", "c.jpg", "d.jpg", "e.jpg"}) Picture(name, "blocks.jpg");
  const std::string focus =
      temp.Write("focus.txt", BytesOf("# drift\n\nA B.jpg x\r\nc.jpg y\nd.jpg xy\n"));
  const RunResult run = RunPack({"--focus", focus});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  const SlideDims x = DimsIn(out, "a b.jpg"), y = DimsIn(out, "c.jpg"), both = DimsIn(out, "d.jpg"),
                  none = DimsIn(out, "e.jpg");
  EXPECT_TRUE(x.focusXOnly && !x.focusYOnly);
  EXPECT_TRUE(!y.focusXOnly && y.focusYOnly);
  EXPECT_FALSE(both.focusXOnly || both.focusYOnly || none.focusXOnly || none.focusYOnly);
}

TEST_F(Pack, FocusFileMayLieAmongThePictures) {
  Picture("a.jpg", "blocks.jpg");
  Text("focus.txt", "a.jpg y\n");
  const RunResult run = RunPack({"--focus", in + "\\.\\FOCUS.txt"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.err, "") << "it isn't taken for a caption without a picture";
  EXPECT_TRUE(DimsIn(out, "a.jpg").focusYOnly);
}

TEST_F(Pack, UnknownPictureInTheFocusFileIsAnErrorWithItsLine) {
  Picture("a.jpg", "blocks.jpg");
  const std::string focus = temp.Write("focus.txt", BytesOf("a.jpg x\nb.jpg y\n"));
  const RunResult run = RunPack({"--focus", focus});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, AllOf(HasSubstr("focus.txt, line 2"), HasSubstr("b.jpg")));
}

TEST_F(Pack, SenselessFocusLineIsAnErrorWithItsLine) {
  Picture("a.jpg", "blocks.jpg");
  const std::string focus = temp.Write("focus.txt", BytesOf("\n\na.jpg sideways\n"));
  const RunResult run = RunPack({"--focus", focus});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("focus.txt, line 3"));
}

// --- Music ---

TEST_F(Pack, MusicGoesInByteForByteInNameOrder) {
  Picture("a.jpg", "blocks.jpg");
  const std::string music = temp.MakeFolder("music");
  CopyFixture("tone.mp3", music + "\\2.mp3");
  CopyFixture("tone.ogg", music + "\\10.ogg");
  CopyFixture("tone.wav", music + "\\1.wav");
  temp.Write("music\\cover.txt", BytesOf("no music"));
  const RunResult run = RunPack({"--music", music});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("3 pieces of music"));
  EXPECT_THAT(run.err, HasSubstr("cover.txt: passed over"));
  EXPECT_THAT(NamesIn(out, "music"), ElementsAre("1.wav", "2.mp3", "10.ogg"));
  EXPECT_EQ(MemberOf(out, "music", "2.mp3"), support::ReadWholeFile(Fixture("tone.mp3")));
}

TEST_F(Pack, FolderWithoutMusicIsAnError) {
  Picture("a.jpg", "blocks.jpg");
  const RunResult run = RunPack({"--music", temp.MakeFolder("music")});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("no music"));
}

TEST_F(Pack, MoreThanFourGigabytesAreRefused) {
  Picture("a.jpg", "blocks.jpg");
  const std::string music = temp.MakeFolder("music");
  const std::string path =
      temp.Write("music\\long.ogg", BytesOf("OggS and then a hole, so that no disk is filled"));
  {
    const KernelHandle file(
        CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    LARGE_INTEGER size{};
    size.QuadPart = 0x100000000;
    ASSERT_TRUE(SetFilePointerEx(file.get(), size, nullptr, FILE_BEGIN) &&
                SetEndOfFile(file.get()));
  }
  const RunResult run = RunPack({"--music", music});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("4 GiB"));
  EXPECT_THAT(TreeOf(temp.Path()), Not(testing::Contains(HasSubstr("out.bdl"))));
}

// --- Damage ---

TEST_F(Pack, DamagedPictureIsAnErrorThatNamesItAndLeavesNoOutput) {
  Picture("a.jpg", "blocks.jpg");
  for (const char* fixture : {"cut.jpg", "cut-6.jpg"}) {
    Picture(fixture, fixture);
    const RunResult run = RunPack();
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, AllOf(HasSubstr("error: "), HasSubstr(fixture)));
    EXPECT_THAT(TreeOf(temp.Path()), ElementsAre("in", "in/a.jpg", "in/" + std::string(fixture)));
    DeleteFileA((in + "\\" + fixture).c_str());
  }
}

TEST_F(Pack, FailureKeepsTheOldOutputWhole) {
  Picture("a.jpg", "blocks.jpg");
  ASSERT_EQ(RunPack().exitCode, 0);
  const Bytes before = support::ReadWholeFile(out);
  Picture("b.jpg", "cut.jpg");
  EXPECT_EQ(RunPack().exitCode, 1);
  EXPECT_EQ(support::ReadWholeFile(out), before);
}

TEST_F(Pack, SuccessReplacesTheOldOutput) {
  Picture("a.jpg", "blocks.jpg");
  ASSERT_EQ(RunPack().exitCode, 0);
  Picture("b.jpg", "blocks.jpg");
  ASSERT_EQ(RunPack().exitCode, 0);
  EXPECT_THAT(NamesIn(out, "image"), ElementsAre("a.jpg", "b.jpg"));
}

TEST_F(Pack, SkipBadLeavesDamagedPicturesOutWithAWarning) {
  Picture("a.jpg", "blocks.jpg");
  Picture("b.jpg", "cut.jpg");
  Picture("c.jpg", "blocks.jpg");
  const RunResult run =
      RunPack({"--skip-bad", "--focus", temp.Write("focus.txt", BytesOf("b.jpg x\nc.jpg y\n"))});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.err, AllOf(HasSubstr("warning: "), HasSubstr("b.jpg")));
  EXPECT_THAT(run.out, AllOf(HasSubstr("2 pictures"), HasSubstr("1 damaged picture left out")));
  EXPECT_THAT(NamesIn(out, "image"), ElementsAre("a.jpg", "c.jpg"));
  EXPECT_THAT(NamesIn(out, "dims"), ElementsAre("a.jpg", "c.jpg"));
  EXPECT_TRUE(DimsIn(out, "c.jpg").focusYOnly);
}

TEST_F(Pack, SkipBadWithNoGoodPictureIsAnError) {
  Picture("b.jpg", "cut.jpg");
  const RunResult run = RunPack({"--skip-bad"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("no picture in this folder is good"));
}

TEST_F(Pack, OutputThatCannotBeMadeIsAnErrorThatNamesIt) {
  Picture("a.jpg", "blocks.jpg");
  for (const std::string& output : {Path("nowhere\\out.bdl"), in}) {
    const RunResult run = RunMakeBundle({"pack", output, "--pictures", in});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr(output));
  }
}

// --- Being killed ---

// A program whose standard error is a pipe that nobody empties: it comes to
// stand still in the middle of its work, once its notes have filled the pipe.
class StalledRun {
 public:
  explicit StalledRun(const std::vector<std::string>& arguments) {
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    HANDLE read = nullptr, write = nullptr;
    CreatePipe(&read, &write, &inherit, 512);
    read_.reset(read);
    const KernelHandle writeEnd(write);
    SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdError = write;
    PROCESS_INFORMATION process{};
    std::wstring line = MakeBundleCommandLine(arguments);
    CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                   &process);
    CloseHandle(process.hThread);
    process_.reset(process.hProcess);
  }

  // The exit code that it ends with: `code`, if it was still at work.
  DWORD Kill(UINT code) {
    TerminateProcess(process_.get(), code);
    WaitForSingleObject(process_.get(), INFINITE);
    DWORD ended = 0;
    GetExitCodeProcess(process_.get(), &ended);
    return ended;
  }
  bool IsRunning() const { return WaitForSingleObject(process_.get(), 0) == WAIT_TIMEOUT; }

 private:
  KernelHandle read_, process_;
};

std::uint64_t SizeOf(const std::string& path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  return GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data) ? data.nFileSizeLow : 0;
}

TEST_F(Pack, KilledInTheMiddleItLeavesTheOldFileAndNothingElse) {
  Picture("0.jpg", "blocks.jpg");
  ASSERT_EQ(RunPack().exitCode, 0);
  const Bytes before = support::ReadWholeFile(out);
  // Every one of these gives a note, hundreds of times what the pipe takes.
  const std::string longName(150, 'x');
  for (int n = 100; n < 500; ++n) Picture(std::to_string(n) + longName + ".jpg", "uneven-6.jpg");
  StalledRun run({"pack", out, "--pictures", in});
  ASSERT_TRUE(support::WaitFor([&] { return SizeOf(out + ".part") > 0 || !run.IsRunning(); }));
  EXPECT_EQ(run.Kill(77), 77u) << "it had ended before it was killed";
  EXPECT_EQ(support::ReadWholeFile(out), before);
  EXPECT_TRUE(support::WaitFor([&] {
    return GetFileAttributesA((out + ".part").c_str()) == INVALID_FILE_ATTRIBUTES;
  })) << "the half-written file is left behind";
}

TEST_F(Pack, FileLeftBesideByAnEarlierRunIsNoHindrance) {
  Picture("a.jpg", "blocks.jpg");
  temp.Write("out.bdl.part", BytesOf("half"));
  EXPECT_EQ(RunPack().exitCode, 0);
  EXPECT_THAT(TreeOf(temp.Path()), ElementsAre("in", "in/a.jpg", "out.bdl"));
}

// --- What it says ---

TEST_F(Pack, RedirectedOutputHasNoProgressLine) {
  for (int n = 0; n < 20; ++n) Picture(std::to_string(n) + ".jpg", "blocks.jpg");
  const RunResult run = RunPack();
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out.find('\r'), std::string::npos);
}

TEST_F(Pack, PathsMayHoldBlanksAndLettersBeyondTheCodePage) {
  Picture("a.jpg", "blocks.jpg");
  const std::string folder = Path("two words \xE6\x97\xA5");
  CreateDirectoryW(WideFromUtf8(folder).c_str(), nullptr);
  const std::string bundle = folder + "\\out \xC3\xA9.bdl";
  const RunResult run = RunMakeBundle({"pack", bundle, "--pictures", in});
  const RunResult verify = RunMakeBundle({"verify", bundle});
  DeleteFileW(WideFromUtf8(bundle).c_str());
  RemoveDirectoryW(WideFromUtf8(folder).c_str());
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(verify.exitCode, 0) << verify.err;
  EXPECT_THAT(run.out, HasSubstr(bundle)) << "redirected output is UTF-8";
}

TEST(CommandLine, HelpGoesToStandardOutput) {
  const RunResult run = RunMakeBundle({"--help"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("MakeBundle pack OUT.bdl --pictures DIR"));
  EXPECT_EQ(run.err, "");
}

TEST(CommandLine, WrongUsageEndsWithTwo) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                    {"fold"},
                                                    {"pack"},
                                                    {"pack", "out.bdl"},
                                                    {"list"},
                                                    {"pack", "o", "--pictures", "i", "--no"}}) {
    const RunResult run = RunMakeBundle(arguments);
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, AllOf(HasSubstr("error: "), HasSubstr("--help")));
  }
}

}  // namespace
