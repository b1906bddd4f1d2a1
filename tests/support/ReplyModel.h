#pragma once
// What the scanner of server replies should find, worked out over the whole text
// at once instead of character by character.

#include <cctype>
#include <string>
#include <vector>

namespace support {

struct ReplyElement {
  std::string name;
  std::string text;
  bool operator==(const ReplyElement&) const = default;
};

class ReplyModel {
 public:
  // `reply` holds no NUL.
  explicit ReplyModel(const std::string& reply) : reply_(reply) {}

  std::vector<ReplyElement> Elements() const {
    std::vector<ReplyElement> elements;
    for (std::size_t at = 0;;) {
      const std::size_t open = Delimiter('<', at);
      const std::size_t close = open == kNone ? kNone : Delimiter('>', open + 1);
      if (close == kNone) return elements;
      const std::string name = reply_.substr(open + 1, close - open - 1);
      const std::size_t end = EndOf(name, close + 1);
      std::string text = Kept(close + 1, end == kNone ? reply_.size() : end);
      if (end != kNone) text.erase(text.rfind('<'));
      elements.push_back({name, text});
      if (end == kNone) return elements;
      at = end + 1;
    }
  }

 private:
  static constexpr std::size_t kNone = std::string::npos;

  std::size_t Delimiter(char bracket, std::size_t from) const {
    std::size_t at = reply_.find(bracket, from);
    while (at != kNone && at > 0 && reply_[at - 1] == '\\') at = reply_.find(bracket, at + 1);
    return at;
  }
  std::string Kept(std::size_t from, std::size_t to) const {
    std::string kept;
    for (const char c : reply_.substr(from, to - from))
      if (static_cast<unsigned char>(c) >= 32 && static_cast<unsigned char>(c) < 128) kept += c;
    return kept;
  }
  static std::string Small(std::string text) {
    for (char& c : text)
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    return text;
  }
  // The bracket that ends the element's closing tag.
  std::size_t EndOf(const std::string& name, std::size_t from) const {
    std::size_t right = Delimiter('>', from);
    for (std::size_t tried = from; right != kNone; right = Delimiter('>', right + 1)) {
      std::size_t left = kNone;
      for (std::size_t at = Delimiter('<', tried); at < right; at = Delimiter('<', at + 1))
        left = at;
      if (left != kNone && Small(Kept(left + 1, right)) == Small("/" + name)) return right;
      tried = right + 1;
    }
    return kNone;
  }

  std::string reply_;
};

}  // namespace support
