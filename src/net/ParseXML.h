#pragma once
// Lifts flat <name>text</name> elements out of a server's reply, one at a time.
// It is no XML parser: it knows no attributes, nesting, entities, comments or
// declarations. A backslash before an angle bracket makes it an ordinary
// character, and stays in the text.
//
//   ParseXML parser;
//   parser.SetText(reply);
//   for (ParseXMLTag tag = parser.NextTag(); tag.IsValid(); tag = parser.NextTag()) ...
//
// There are no errors: any input gives some sequence of tags that ends in an
// invalid one. One thread at a time.

#include "base/SimpleString.h"

#include <cstdio>
#include <string>

class ParseXMLTag {
 public:
  ParseXMLTag() = default;
  ParseXMLTag(const ParseXMLTag&) = default;
  ParseXMLTag& operator=(const ParseXMLTag&) = default;
  virtual ~ParseXMLTag() = default;

  bool IsValid() const { return !empty; }

  bool empty = true;  // nothing was found
  SimpleString name;  // all between "<" and ">", as it stands
  SimpleString text;  // all up to the "<" of the closing tag, as it stands
};

class ParseXML {
 public:
  ParseXML() = default;
  virtual ~ParseXML();
  ParseXML(const ParseXML&) = delete;
  ParseXML& operator=(const ParseXML&) = delete;

  // Starts over with a copy of `source`; a null text counts as empty.
  void SetText(const char* source);
  // Starts over with a stream that can seek, opened in binary mode; this object
  // closes it.
  void SetStream(std::FILE* source);

  // The next character, or 0 at the end. In memory the terminator is read like a
  // character before that.
  char NextChar();
  // The same without moving on.
  char PeekChar();

  // The next element. One that is never closed runs to the end of the input. An
  // element within another of the same name ends it.
  ParseXMLTag NextTag();

 private:
  void Reset();
  // Whether the last character read is `bracket` and delimits something.
  bool IsDelimiter(char bracket) const { return current == bracket && previous != '\\'; }
  bool FindOpening();
  bool ReadName(std::string& name);
  std::string ReadText(const std::string& name);

  bool fromFile = false;
  char* buffer = nullptr;
  char* cursor = nullptr;
  char current = 0;
  char previous = 0;
  std::FILE* stream = nullptr;
  bool atEnd = true;
};
