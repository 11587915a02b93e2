// The system's LDAP library on Windows parses no DNs into their parts, so the
// string form of RFC 4514 is read here.
#include <algorithm>
#include <cctype>

#include "ldap/DistinguishedName.h"

namespace xo::directory::ldap {
namespace {

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// A string value as directories match names (caseIgnoreMatch): blanks at
// either end dropped, runs of blanks inside read as one.
std::string Folded(const std::string& value) {
  std::string folded;
  bool blank = false;
  for (char c : Lower(value)) {
    if (c == ' ') {
      blank = !folded.empty();
      continue;
    }
    if (blank) folded += ' ';
    blank = false;
    folded += c;
  }
  return folded;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

bool IsSpecial(char c) {
  return c == ',' || c == '+' || c == '"' || c == '\\' || c == '<' || c == '>' || c == ';' ||
         c == '=';
}

class Reader {
 public:
  explicit Reader(const std::string& text) : text_(text) {}

  bool AtEnd() const { return at_ == text_.size(); }
  char Peek() const { return AtEnd() ? '\0' : text_[at_]; }
  void SkipBlanks() {
    while (Peek() == ' ') ++at_;
  }

  // descr (a letter, then letters, digits and '-') or a numeric OID.
  bool Type(std::string& type) {
    const size_t start = at_;
    if (std::isalpha(static_cast<unsigned char>(Peek()))) {
      while (std::isalnum(static_cast<unsigned char>(Peek())) || Peek() == '-') ++at_;
    } else if (std::isdigit(static_cast<unsigned char>(Peek()))) {
      while (std::isdigit(static_cast<unsigned char>(Peek())) || Peek() == '.') ++at_;
      if (text_[at_ - 1] == '.') return false;
    } else {
      return false;
    }
    type = Lower(text_.substr(start, at_ - start));
    return true;
  }

  // "#" and the hex of a BER value, or a string with \-escapes; the value
  // ends before an unescaped ',' or '+' or the end.
  bool Value(std::string& value, bool& binary) {
    value.clear();
    binary = Peek() == '#';
    if (binary) {
      ++at_;
      while (HexDigit(Peek()) >= 0) {
        const int high = HexDigit(text_[at_++]);
        const int low = HexDigit(Peek());
        if (low < 0) return false;
        ++at_;
        value += static_cast<char>(high * 16 + low);
      }
      SkipBlanks();
      return !value.empty();
    }
    size_t keep = 0;  // the value's length up to its last character that is not a free blank
    while (!AtEnd() && Peek() != ',' && Peek() != '+' && Peek() != ';') {
      char c = text_[at_++];
      if (c == '\\') {
        if (AtEnd()) return false;
        const int high = HexDigit(Peek());
        if (high >= 0 && at_ + 1 < text_.size() && HexDigit(text_[at_ + 1]) >= 0) {
          c = static_cast<char>(high * 16 + HexDigit(text_[at_ + 1]));
          at_ += 2;
        } else if (IsSpecial(Peek()) || Peek() == ' ' || Peek() == '#') {
          c = text_[at_++];
        } else {
          return false;
        }
        value += c;
        keep = value.size();
        continue;
      }
      if (c == '"' || c == '=' || c == '<' || c == '>' || c == '\0') return false;
      value += c;
      if (c != ' ') keep = value.size();
    }
    value.resize(keep);
    return true;
  }

  bool Take(char c) {
    if (Peek() != c) return false;
    ++at_;
    return true;
  }

 private:
  const std::string& text_;
  size_t at_ = 0;
};

}  // namespace

bool Dn::Parse(const std::string& text, Dn& dn) {
  Dn result;
  Reader in(text);
  in.SkipBlanks();
  while (!in.AtEnd()) {
    Rdn& pairs = result.rdns_.emplace_back();
    for (;;) {
      std::string type;
      std::string value;
      bool binary = false;
      in.SkipBlanks();
      if (!in.Type(type)) return false;
      in.SkipBlanks();
      if (!in.Take('=')) return false;
      in.SkipBlanks();
      if (!in.Value(value, binary)) return false;
      pairs.emplace_back(type, binary ? "#" + value : Folded(value));
      if (!in.Take('+')) break;
    }
    std::sort(pairs.begin(), pairs.end());
    if (in.AtEnd()) break;
    if (!in.Take(',') && !in.Take(';')) return false;
    if (in.AtEnd()) return false;
  }
  dn = std::move(result);
  return true;
}

bool Dn::IsUnder(const Dn& root) const {
  return rdns_.size() >= root.rdns_.size() &&
         std::equal(root.rdns_.rbegin(), root.rdns_.rend(), rdns_.rbegin());
}

}  // namespace xo::directory::ldap
