#include "makebundle/ReadBack.h"

#include "makebundle/Files.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

using testing::HasSubstr;

// A written bundle, what was written, and ways to spoil it behind the
// writer's back.
class ReadBack : public testing::Test {
 protected:
  ReadBack() : path(temp.File("a.bdl")) {
    StagedFile file(path);
    BundleWriter writer(file);
    writer.BeginCategory("image");
    writer.Add("a.jpg", AsBytes("first"));
    writer.Add("b.jpg", AsBytes("second"));
    writer.Finish();
    file.Close();
    file.Commit(false);
    members = writer.Members();
  }

  void Replace(const std::string& what, const std::string& by) {
    std::string text = support::TextOf(support::ReadWholeFile(path));
    text.replace(text.find(what), what.size(), by);
    temp.Write("a.bdl", support::BytesOf(text));
  }
  std::string Fault() const {
    try {
      CheckWritten(path, members);
      return "";
    } catch (const PackError& fault) {
      return fault.what();
    }
  }

  support::TempFolder temp;
  std::string path;
  std::vector<WrittenMember> members;
};

TEST_F(ReadBack, WhatWasWrittenIsGood) { EXPECT_EQ(Fault(), ""); }

TEST_F(ReadBack, ChangedByteIsFound) {
  Replace("second", "sEcond");
  EXPECT_THAT(Fault(), HasSubstr("\"image/b.jpg\" doesn't read back"));
}
TEST_F(ReadBack, ChangedNameIsFound) {
  Replace("a.jpg", "A.jpg");
  EXPECT_THAT(Fault(), HasSubstr("doesn't read back"));
}
TEST_F(ReadBack, ChangedCategoryIsFound) {
  Replace("?image", "?IMAGE");
  EXPECT_THAT(Fault(), HasSubstr("doesn't read back"));
}
TEST_F(ReadBack, MissingMemberIsFound) {
  members.push_back(members.front());
  EXPECT_THAT(Fault(), HasSubstr("directory doesn't read back"));
}
TEST_F(ReadBack, UnexpectedMemberIsFound) {
  members.pop_back();
  EXPECT_THAT(Fault(), HasSubstr("\"image/b.jpg\" doesn't read back"));
}
TEST_F(ReadBack, BrokenDirectoryIsFound) {
  Replace("?image", "!image");
  EXPECT_THAT(Fault(), HasSubstr("doesn't start with a category"));
}

TEST(StagedFile, WithoutCommitNothingIsLeft) {
  const support::TempFolder temp;
  const std::string path = temp.Write("a", support::BytesOf("old"));
  {
    StagedFile file(path);
    file.Write(AsBytes("new"));
    file.Close();
  }
  EXPECT_EQ(support::ReadWholeFile(path), support::BytesOf("old"));
  EXPECT_FALSE(PathIsTaken(path + ".part"));
}

TEST(StagedFile, TwoAtOnceForOnePlaceAreRefused) {
  const support::TempFolder temp;
  const StagedFile first(temp.File("a"));
  EXPECT_THROW(StagedFile second(temp.File("a")), PackError);
}

TEST(StagedFile, NamesForTheFileBesideComeToAnEnd) {
  const support::TempFolder temp;
  const std::string taken = temp.Write("a.part", support::BytesOf("theirs"));
  try {
    std::vector<std::unique_ptr<StagedFile>> files;
    while (files.size() < 1'000)
      files.push_back(std::make_unique<StagedFile>(temp.File("a"), OldPart::kKept));
    ADD_FAILURE() << "it never gives up";
  } catch (const PackError& fault) {
    EXPECT_THAT(fault.what(), HasSubstr("a.part"));
  }
  EXPECT_EQ(support::ReadWholeFile(taken), support::BytesOf("theirs"));
}

}  // namespace
