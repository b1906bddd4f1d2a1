// Any bytes at all as a server's reply. What the scanner finds has to agree with
// its rules applied to the whole text at once, and be the same from a stream.

#include "fuzz.h"

#include "net/ParseXML.h"
#include "support/ReplyModel.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Elements = std::vector<support::ReplyElement>;

Elements Collect(ParseXML& parser) {
  Elements elements;
  for (ParseXMLTag tag = parser.NextTag(); tag.IsValid(); tag = parser.NextTag())
    elements.push_back({tag.name.Text(), tag.text.Text()});
  return elements;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string reply(reinterpret_cast<const char*>(data), size);
  reply.resize(std::strlen(reply.c_str()));  // a text ends at its first NUL
  const Elements expected = support::ReplyModel(reply).Elements();
  ParseXML parser;
  parser.SetText(reply.c_str());
  Require(Collect(parser) == expected);
  if (reply.empty()) return 0;
  parser.SetStream(fmemopen(reply.data(), reply.size(), "rb"));
  Require(Collect(parser) == expected);
  return 0;
}
