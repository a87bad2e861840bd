// The messages of the local application link: one line of text each, ended
// by LF (a CR before it is dropped). A line is a verb and its fields, joined
// by single spaces; the last field runs to the end of the line, earlier ones
// end at the first space. Inside a field a backslash starts an escape:
//   \\ backslash   \s space   \t tab   \n LF   \r CR   \xHH any byte
// so that values with tabs, line ends or leading blanks travel unchanged.
//
//   client -> server                     server -> client
//   CONNECT <topic>                      OK [<text>]
//   REQUEST <item>                       ERROR <text>
//   POKE <item> <value>                  VALUE <item> <value>
//   ADVISE <item>                        UPDATE <item> <value>   (pushed)
//   UNADVISE <item>
//   CLOSE
//
// Verbs compare without regard to case. docs/link-protocol.md tells the rest.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace sv {

enum class LinkVerb { Connect, Request, Poke, Advise, Unadvise, Close, Ok, Error, Value, Update };

struct LinkMessage {
  LinkVerb verb = LinkVerb::Ok;
  std::string item;   // the topic of CONNECT, the item of the others, "" for OK, ERROR, CLOSE
  std::string value;  // the value of POKE, VALUE, UPDATE; the text of OK and ERROR
};

// The longest line a reader keeps, without its line end.
inline constexpr size_t kLinkMaxLine = 64 * 1024;

const char* LinkVerbName(LinkVerb verb);

// Escapes one field. `last`: the field ends the line, so spaces may stay.
std::string LinkEscape(std::string_view text, bool last);
// Undoes LinkEscape; false on an unknown or cut escape.
bool LinkUnescape(std::string_view text, std::string& out);

// The line of a message, without its LF.
std::string FormatLinkMessage(const LinkMessage& message);
// Reads one line (with or without its line end). False with a short reason
// for anything that is not a message; never more than that.
bool ParseLinkMessage(std::string_view line, LinkMessage& message, std::string& error);

// Cuts a byte stream into lines. A line longer than kLinkMaxLine is dropped
// up to its LF and reported once as too long.
class LinkLineReader {
 public:
  enum class Result { None, Line, TooLong };
  void Feed(const char* data, size_t size);
  Result Next(std::string& line);
  size_t Buffered() const { return buffer_.size() - start_; }

 private:
  std::string buffer_;
  size_t start_ = 0;
  bool skipping_ = false;  // inside a line that was too long
  bool reportTooLong_ = false;
};

}  // namespace sv
