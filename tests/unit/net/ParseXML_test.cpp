#include "net/ParseXML.h"

#include "support/Bytes.h"
#include "support/ReplyModel.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using support::ReplyElement;
using Elements = std::vector<ReplyElement>;

namespace support {
void PrintTo(const ReplyElement& element, std::ostream* out) {
  *out << '{' << element.name << ", " << element.text << '}';
}
}  // namespace support

namespace {

Elements Collect(ParseXML& parser) {
  Elements elements;
  for (ParseXMLTag tag = parser.NextTag(); tag.IsValid(); tag = parser.NextTag())
    elements.push_back({tag.name.Text(), tag.text.Text()});
  return elements;
}

Elements Scan(const std::string& text) {
  ParseXML parser;
  parser.SetText(text.c_str());
  return Collect(parser);
}

Elements ScanStream(const std::string& text) {
  const support::TempFolder folder;
  const std::string path = folder.Write("reply", support::BytesOf(text));
  ParseXML parser;
  parser.SetStream(std::fopen(path.c_str(), "rb"));
  return Collect(parser);
}

// --- Elements ---

TEST(ParseXML, AnEmptyTextHoldsNoTag) { EXPECT_EQ(Scan(""), Elements{}); }

TEST(ParseXML, HoldsNoTagBeforeItHasAText) {
  ParseXML parser;
  EXPECT_FALSE(parser.NextTag().IsValid());
  parser.SetText(nullptr);
  EXPECT_FALSE(parser.NextTag().IsValid());
}

TEST(ParseXML, LiftsFlatElements) {
  EXPECT_EQ(Scan("<link>http://x/y</link><msg>a text</msg>"),
            (Elements{{"link", "http://x/y"}, {"msg", "a text"}}));
}

TEST(ParseXML, SkipsTextOutsideOfElements) {
  EXPECT_EQ(Scan("before <a>x</a> between > <b>y</b> behind"), (Elements{{"a", "x"}, {"b", "y"}}));
}

TEST(ParseXML, GivesAnInvalidTagBehindTheLastElement) {
  ParseXML parser;
  parser.SetText("<a>x</a>");
  EXPECT_TRUE(parser.NextTag().IsValid());
  for (int n = 0; n < 3; ++n) {
    const ParseXMLTag tag = parser.NextTag();
    EXPECT_FALSE(tag.IsValid());
    EXPECT_TRUE(tag.empty);
    EXPECT_TRUE(tag.name.IsEmpty() && tag.text.IsEmpty());
  }
}

TEST(ParseXML, AnEmptyElementHasAnEmptyText) { EXPECT_EQ(Scan("<a></a>"), (Elements{{"a", ""}})); }

TEST(ParseXML, AnEmptyNameIsClosedByASlash) {
  EXPECT_EQ(Scan("<>x</>y<a>z</a>"), (Elements{{"", "x"}, {"a", "z"}}));
}

TEST(ParseXML, ABackslashMakesABracketAnOrdinaryCharacterAndStays) {
  EXPECT_EQ(Scan("<msg>a\\<b</msg>"), (Elements{{"msg", "a\\<b"}}));
  EXPECT_EQ(Scan("<msg>a\\>b</msg>"), (Elements{{"msg", "a\\>b"}}));
  EXPECT_EQ(Scan("\\<no>x<a\\>b>y</a\\>b>"), (Elements{{"a\\>b", "y"}}));
}

TEST(ParseXML, DropsLineEndsAndOtherControlCharacters) {
  EXPECT_EQ(Scan("<msg>a\nb</msg>"), (Elements{{"msg", "ab"}}));
  EXPECT_EQ(Scan("<msg>a\r\nb\tc\x01\x1f d\x7f</msg>"), (Elements{{"msg", "abc d\x7f"}}));
}

TEST(ParseXML, DropsBytesFrom128On) {
  EXPECT_EQ(Scan("<msg>caf\xe9 \x80\xff!</msg>"), (Elements{{"msg", "caf !"}}));
}

TEST(ParseXML, ClosesWithoutRegardToCase) {
  EXPECT_EQ(Scan("<msg>x</MSG><MSG>y</mSg>"), (Elements{{"msg", "x"}, {"MSG", "y"}}));
}

TEST(ParseXML, ANameWithATrailingBlankIsNotClosedByTheNameAlone) {
  EXPECT_EQ(Scan("<msg >x</msg>"), (Elements{{"msg ", "x</msg>"}}));
  EXPECT_EQ(Scan("<msg >x</msg ><b>y</b>"), (Elements{{"msg ", "x"}, {"b", "y"}}));
}

TEST(ParseXML, AnElementThatIsNeverClosedRunsToTheEnd) {
  EXPECT_EQ(Scan("<msg>x"), (Elements{{"msg", "x"}}));
  EXPECT_EQ(Scan("<a>x</b><c>y</c>"), (Elements{{"a", "x</b><c>y</c>"}}));
}

// The kept terminator doesn't count as a character of the text.
TEST(ParseXML, TheTextOfAnUnclosedElementEndsAtItsTerminator) {
  ParseXML parser;
  parser.SetText("<msg>x");
  const ParseXMLTag tag = parser.NextTag();
  EXPECT_TRUE(tag.IsValid());
  EXPECT_STREQ(tag.text.Text(), "x");
  EXPECT_EQ(tag.text.Length(), 1);
}

TEST(ParseXML, ANameThatIsCutOffIsNoTag) {
  EXPECT_EQ(Scan("<"), Elements{});
  EXPECT_EQ(Scan("<msg"), Elements{});
  EXPECT_EQ(Scan("<msg\\>x</msg\\>"), Elements{});
}

TEST(ParseXML, AnInnerElementOfTheSameNameEndsTheOuterOne) {
  EXPECT_EQ(Scan("<a><a>x</a></a>"), (Elements{{"a", "<a>x"}, {"/a", ""}}));
  EXPECT_EQ(Scan("<a><a>x</a></a><b>y</b>"), (Elements{{"a", "<a>x"}, {"/a", "<b>y</b>"}}));
}

TEST(ParseXML, InnerElementsOfAnotherNameStayWithTheirMarkup) {
  EXPECT_EQ(Scan("<a>1<b>2</b>3</a>"), (Elements{{"a", "1<b>2</b>3"}}));
}

TEST(ParseXML, ASelfClosingElementSwallowsTheRest) {
  EXPECT_EQ(Scan("<a/><msg>x</msg>"), (Elements{{"a/", "<msg>x</msg>"}}));
}

TEST(ParseXML, ADeclarationOrACommentSwallowsTheRest) {
  EXPECT_EQ(Scan("<?xml version=\"1.0\"?><msg>x</msg>"),
            (Elements{{"?xml version=\"1.0\"?", "<msg>x</msg>"}}));
  EXPECT_EQ(Scan("<!-- note --><msg>x</msg>"), (Elements{{"!-- note --", "<msg>x</msg>"}}));
}

TEST(ParseXML, AnAttributeBelongsToTheNameAndCannotBeClosed) {
  EXPECT_EQ(Scan("<link href=\"x\">y</link>"), (Elements{{"link href=\"x\"", "y</link>"}}));
}

TEST(ParseXML, EntitiesStay) {
  EXPECT_EQ(Scan("<a>&lt;&amp;&#65;</a>"), (Elements{{"a", "&lt;&amp;&#65;"}}));
}

TEST(ParseXML, AClosingTagMayHoldLineEnds) {
  EXPECT_EQ(Scan("<msg>x</m\r\nsg>y"), (Elements{{"msg", "x"}}));
}

TEST(ParseXML, AClosingTagIsFoundBehindOneThatIsTooLong) {
  EXPECT_EQ(Scan("<a>x</abc</a>"), (Elements{{"a", "x</abc"}}));
  EXPECT_EQ(Scan("<a>x</abc>y</a>"), (Elements{{"a", "x</abc>y"}}));
}

// The last bracket in the text is where the closing tag is thought to begin.
TEST(ParseXML, ABracketInTheNameShortensTheClosingTag) {
  EXPECT_EQ(Scan("<a\\<b>t</a\\<b>"), (Elements{{"a\\<b", "t</a\\"}}));
}

TEST(ParseXML, NamesAndTextsOfAnyLengthStayWhole) {
  for (const std::size_t length : {1022u, 1023u, 1024u, 1025u, 2047u, 2048u, 100000u}) {
    const std::string name(length, 'n');
    const std::string text(length, 't');
    EXPECT_EQ(Scan("<" + name + ">" + text + "</" + name + "><b>y</b>"),
              (Elements{{name, text}, {"b", "y"}}));
  }
}

// --- Copies and streams ---

TEST(ParseXML, TagsHaveAVirtualDestructorAndCopyWhole) {
  static_assert(std::has_virtual_destructor_v<ParseXMLTag>);
  static_assert(std::has_virtual_destructor_v<ParseXML>);
  ParseXML parser;
  parser.SetText("<a>x</a>");
  const ParseXMLTag tag = parser.NextTag();
  ParseXMLTag other;
  EXPECT_FALSE(other.IsValid());
  other = tag;
  const ParseXMLTag copy(other);
  EXPECT_TRUE(copy.IsValid());
  EXPECT_STREQ(copy.name.Text(), "a");
  EXPECT_STREQ(copy.text.Text(), "x");
}

TEST(ParseXML, KeepsACopyOfItsText) {
  std::string text = "<a>x</a>";
  ParseXML parser;
  parser.SetText(text.c_str());
  text.assign(text.size(), '!');
  EXPECT_EQ(Collect(parser), (Elements{{"a", "x"}}));
}

TEST(ParseXML, ANewTextStartsOver) {
  ParseXML parser;
  parser.SetText("<a>x</a>\\");
  parser.NextTag();
  parser.NextChar();
  parser.SetText("<b>y</b>");
  EXPECT_EQ(Collect(parser), (Elements{{"b", "y"}}));
}

TEST(ParseXML, PeeksWithoutMovingOn) {
  ParseXML parser;
  EXPECT_EQ(parser.PeekChar(), 0);
  EXPECT_EQ(parser.NextChar(), 0);
  parser.SetText("ab");
  EXPECT_EQ(parser.PeekChar(), 'a');
  EXPECT_EQ(parser.PeekChar(), 'a');
  EXPECT_EQ(parser.NextChar(), 'a');
  EXPECT_EQ(parser.NextChar(), 'b');
  EXPECT_EQ(parser.PeekChar(), 0);
  EXPECT_EQ(parser.NextChar(), 0);
  EXPECT_EQ(parser.NextChar(), 0);
  EXPECT_EQ(parser.PeekChar(), 0);
}

TEST(ParseXML, ReadsAStreamToo) {
  EXPECT_EQ(ScanStream("<a>x</a>\r\n<b>y\r\nz</B><c>open"),
            (Elements{{"a", "x"}, {"b", "yz"}, {"c", "open"}}));
  EXPECT_EQ(ScanStream(""), Elements{});
}

TEST(ParseXML, ANulInAStreamEndsTheTextAndNotTheInput) {
  using namespace std::string_literals;
  EXPECT_EQ(ScanStream("<a>x\0y</a><b\0c>z</b>"s), (Elements{{"a", "x"}, {"b", "z"}}));
}

TEST(ParseXML, PeeksIntoAStream) {
  const support::TempFolder folder;
  const std::string path = folder.Write("reply", support::BytesOf("ab"));
  ParseXML parser;
  parser.SetStream(std::fopen(path.c_str(), "rb"));
  EXPECT_EQ(parser.PeekChar(), 'a');
  EXPECT_EQ(parser.NextChar(), 'a');
  EXPECT_EQ(parser.PeekChar(), 'b');
  EXPECT_EQ(parser.NextChar(), 'b');
  EXPECT_EQ(parser.PeekChar(), 0);
  EXPECT_EQ(parser.NextChar(), 0);
  parser.SetStream(nullptr);
  EXPECT_EQ(parser.PeekChar(), 0);
  EXPECT_FALSE(parser.NextTag().IsValid());
}

// --- Against a model ---

std::string RandomReply(std::mt19937& random) {
  static const char* const kPieces[] = {
      "<a>", "</a>", "</A>",  "<b>", "</b>", "<msg>", "</msg>", "<link>", "</link>", "<",
      ">",   "\\",   "/",     "a",   "b",    "\n",    "\r\n",   "\xe9",   "x y",     "<a/>",
      "</",  "<?",   "</ms",  "\\<", "\\>",  "<a b=\"c\">",     "&lt;",   "</a\n>",  "<>", "</>"};
  std::string reply;
  for (std::size_t n = random() % 24; n > 0; --n) reply += kPieces[random() % std::size(kPieces)];
  return reply;
}

TEST(ParseXML, FindsWhatItsModelFindsInRandomReplies) {
  std::mt19937 random(1);
  std::size_t elements = 0;
  for (int n = 0; n < 20000; ++n) {
    const std::string reply = RandomReply(random);
    const Elements expected = support::ReplyModel(reply).Elements();
    elements += expected.size();
    ASSERT_EQ(Scan(reply), expected) << reply;
  }
  EXPECT_GT(elements, 10000u);
}

TEST(ParseXML, FindsTheSameInAStream) {
  std::mt19937 random(2);
  for (int n = 0; n < 200; ++n) {
    const std::string reply = RandomReply(random);
    ASSERT_EQ(ScanStream(reply), support::ReplyModel(reply).Elements()) << reply;
  }
}

}  // namespace
