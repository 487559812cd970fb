#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace agent::scandef {

// A language for people in which to say which entries a statistic counts, and its translation into the
// compact expressions of the definition file and back.
//
//   selection   everything | nothing | a test | not S | S and S | S or S | (S)
//   type        = != file link directory fifo socket device other, or a number; a list: type = (file, link)
//   name        like, not like: a path pattern or a list of them, name like ('%/*.log', '/tmp/%')
//   owner       = != < <= > >=, like, not like, in [ , )      owner like ('www-*', 'nobody')
//   group       = != < <= > >=, in [ , )
//   size        = != < <= > >=, in [ , )                      in bytes: 10M; K, M, G, T by 1024
//   size32      the same, by the low 32 bits as a signed number: the job's own comparison
//   allocated   the same, by the space that an entry takes
//   mtime       = != < <= > >=, in [ , )                      now -90d +12h @1700000000 2024-05-01T12:30:00Z
//   atime       the same
//   attributes  any, all: orphan archive blockdevice executable sticky setgid setuid, numbers, joined by "+";
//               a list: attributes all (setuid+executable, sticky). The name of one alone is a test.
//
// "in [a, b)" includes a and excludes b. Words are read in either case. Texts stand in single quotes; inside,
// '' is a quote, \\ a backslash and \xHH any byte.

/// What can't be said, or isn't said rightly.
class LanguageError : public std::runtime_error {
 public:
  /// @param position offset in bytes of where the trouble begins
  LanguageError(size_t position, const std::string& reason)
      : std::runtime_error(reason), position_(position) {}
  size_t position() const { return position_; }

 private:
  size_t position_;
};

/// Where the job can answer otherwise than a selection reads.
struct Caveats {
  bool size = false;                          ///< it compares a size ...
  bool allocated = false;                     ///< ... or a space that may be too wide
  std::vector<std::string> absolutePatterns;  ///< they match only where a mount point lies on their way

  /// A sentence for each comparison, for people.
  std::vector<std::string> sentences() const;
};

/// @param[out] caveats if not null: those of the selection
/// @return the compact expression; empty for one that selects everything. It compiles.
/// @throws LanguageError with a position in `text`
std::string compileWhere(std::string_view text, Caveats* caveats = nullptr);

/// The same for a walk that begins in a directory below the one that the selection was written for, and is to
/// select the same entries there: path patterns are compared with whole paths, and with that of the directory
/// itself with and without the slash that a walk puts behind the path of its first one.
/// @param mountPoint what patterns without a slash in front begin below, without a slash behind; none: they
/// stay
///   as they are, since they begin below a monitored directory
std::string compileWhereBelow(std::string_view text, const std::optional<std::string>& mountPoint);

/// A text as the language has it: in single quotes.
std::string quotedText(std::string_view bytes);

/// The reverse: a compact expression as text. What compileWhere gave comes back as the same selection in its
/// one spelling. A test that the language refuses (see the reasons of compileWhere) is shown all the same.
/// @throws LanguageError with a position in `expression` for one that doesn't compile
std::string explainWhere(const std::string& expression);

/// The cell of a definition file for an expression: signed decimal numbers joined by ","; "null" for an empty
/// one.
std::string byteList(const std::string& expression);

/// The reverse, as the job reads such a cell, but with other characters refused.
/// @throws LanguageError with a position in `cell`
std::string expressionOf(std::string_view cell);

}  // namespace agent::scandef
