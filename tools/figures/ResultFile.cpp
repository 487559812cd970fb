#include "ResultFile.h"

#include <fcntl.h>
#include <sha2.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <unordered_map>
#include <utility>

#include "Common/ParserAPI.h"
#include "Common/ScanVOXTags.h"
#include "Common/unix/FileDescriptor.h"
#include "Common/unix/psmsgutil.h"
#include "QLMlib/common/unx/LineReader.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "Scan/RecordClasses.h"
#include "Scan/statistics/CuStatDef.h"

namespace agent::tools {

namespace {

// Result files nest six deep; what nests deeper is none.
constexpr size_t DEEPEST_NODE = 32;

constexpr const char* FIRST_LINE = "\"[Header]\", with which every result begins";

LineReader opened(const std::string& fileName) {
  // Without O_NONBLOCK a pipe in the file's place would keep us waiting.
  FileDescriptor file = openFile(fileName.c_str(), O_RDONLY | O_NONBLOCK);
  struct stat status = {};
  if (!file || sys.fstat(file.get(), &status) != 0) {
    throw ResultFileError("it can't be opened: " + getSystemErrorMessage());
  }
  if (!S_ISREG(status.st_mode)) throw ResultFileError("it is no regular file");
  return LineReader(std::move(file));
}

std::string_view trimmed(std::string_view line) {
  constexpr std::string_view BLANKS = "\t\n\r\f ";
  const size_t first = line.find_first_not_of(BLANKS);
  if (first == std::string_view::npos) return {};
  return line.substr(first, line.find_last_not_of(BLANKS) - first + 1);
}

bool isNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

struct Tag {
  bool closes;
  std::string name;
};

/// Nothing for a row: its cells are quoted, so it never begins like a tag.
std::optional<Tag> tagOf(std::string_view line) {
  if (line.size() < 4 || line.front() != '[' || line.back() != ']') return std::nullopt;
  const bool closes = line[1] == '/';
  const std::string_view name = line.substr(closes ? 2 : 1, line.size() - (closes ? 3 : 2));
  const std::string_view tag = closes ? name : name.substr(0, name.find(','));  // a qualifier stands behind
  if (tag.empty() || !std::all_of(tag.begin(), tag.end(), isNameCharacter)) return std::nullopt;
  return Tag{closes, std::string(tag)};
}

std::string openTag(const std::string& name) {
  return "\"[" + name + "]\"";
}
std::string closeTag(const std::string& name) {
  return "\"[/" + name + "]\"";
}

/// The class whose columns a node has. Owners and groups inside other records share those of UserOrGroup.
std::string columnsClass(const std::string& tag) {
  if (tag == ScanVOXTags::UG_USER || tag == ScanVOXTags::UG_GROUP) return ScanVOXTags::UG_USER_GROUP;
  return tag;
}

/// SHA-256 of what is given to it.
class Digest {
 public:
  Digest() { SHA256Init(&state_); }

  void add(std::string_view bytes) {
    SHA256Update(&state_, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  }
  /// Of all so far, in hexadecimal; ends it.
  std::string take() {
    std::array<char, SHA256_DIGEST_STRING_LENGTH> text{};
    SHA256End(&state_, text.data());
    return text.data();
  }

 private:
  SHA2_CTX state_{};
};

/// Goes through a file once, line by line. The job writes exactly one spelling of each thing, so whatever
/// else stands there is a fault: what ParserAPI passes over in a definition would here be a loss without a
/// word.
class Reader {
 public:
  Reader(const std::string& fileName, Checksum checksum) : lines_(opened(fileName)) {
    if (checksum == Checksum::SHA256) digest_.emplace();
  }

  ResultFile read();

 private:
  void readHeaderBlock();
  void readBody();
  void open(const std::string& name);
  void row(std::string_view line);
  void close(const std::string& name);
  void requireRow() const;
  void leave();
  bool isSound(const ResultNode& node) const;
  std::optional<std::string_view> nextLine();
  [[noreturn]] void expected(const std::string& what) const;

  LineReader lines_;
  std::optional<Digest> digest_;  // of what has been read
  int64_t line_ = 0;              // the one that was read last, or tried
  bool atEnd_ = false;
  // Of each class; those that have no rows have none.
  std::unordered_map<std::string, std::shared_ptr<const ResultClass>> columns_;
  std::vector<ResultNode> open_;  // from the outermost to the innermost
  bool resultSeen_ = false;
  ResultFile result_;
};

ResultFile Reader::read() {
  try {
    readHeaderBlock();
    readBody();
    if (digest_) result_.checksum = digest_->take();
  } catch (const ResultFault& fault) {
    result_.fault = fault;
    while (!open_.empty()) {
      if (isSound(open_.back())) {
        leave();
      } else {
        open_.pop_back();
      }
    }
  }
  return std::move(result_);
}

void Reader::readHeaderBlock() {
  if (nextLine() != ParserAPI::OPEN_HEADER) expected(FIRST_LINE);
  std::string className;
  while (const auto line = nextLine()) {
    if (*line == ParserAPI::CLOSE_HEADER) return;
    if (std::optional<Tag> tag = tagOf(*line)) {
      className = std::move(tag->name);
      columns_.try_emplace(className, std::make_shared<ResultClass>(className, Row()));
    } else {
      columns_[className] = std::make_shared<ResultClass>(className, ParserAPI::splitLine(*line));
    }
  }
  expected(closeTag("Header"));
}

void Reader::readBody() {
  while (const auto line = nextLine()) {
    if (const std::optional<Tag> tag = tagOf(*line)) {
      tag->closes ? close(tag->name) : open(tag->name);
    } else {
      row(*line);
    }
  }
  if (!open_.empty()) expected(closeTag(open_.back().tag));
  if (!resultSeen_) expected(openTag(ScanVOXTags::AS));
}

void Reader::open(const std::string& name) {
  if (open_.empty()) {
    if (name != ScanVOXTags::AS) expected(openTag(ScanVOXTags::AS));
    resultSeen_ = true;
  } else {
    requireRow();
  }
  if (open_.size() >= DEEPEST_NODE) expected("an end: nodes of a result aren't nested that deep");
  const auto columns = columns_.find(columnsClass(name));
  if (columns == columns_.end()) expected("a class that the header block names");
  ResultNode node;
  node.tag = name;
  node.columns = columns->second;
  open_.push_back(std::move(node));
}

void Reader::row(std::string_view line) {
  if (open_.empty()) expected(resultSeen_ ? "the end of the file" : openTag(ScanVOXTags::AS));
  ResultNode& node = open_.back();
  if (node.tag == ScanVOXTags::AS) expected("a node: what has a row here is a definition, no result");
  const Row& names = node.columns->names;
  if (names.empty() || !node.children.empty()) expected(closeTag(node.tag) + " or a node");
  if (std::count(line.begin(), line.end(), '"') % 2 != 0) expected("the quote that ends a cell");
  Row cells = ParserAPI::splitLine(line);
  if (cells.size() != names.size()) {
    expected("a row of " + std::to_string(names.size()) + " cells, not of " + std::to_string(cells.size()));
  }
  node.rows.push_back(std::move(cells));
}

void Reader::close(const std::string& name) {
  if (open_.empty()) expected(resultSeen_ ? "the end of the file" : openTag(ScanVOXTags::AS));
  if (name != open_.back().tag) expected(closeTag(open_.back().tag));
  requireRow();
  leave();
}

void Reader::requireRow() const {
  const ResultNode& node = open_.back();
  const Row& names = node.columns->names;
  if (node.tag == ScanVOXTags::AS || names.empty() || !node.rows.empty()) return;
  expected("a row of " + std::to_string(names.size()) + " cells");
}

/// Gives the innermost node to the one around it.
void Reader::leave() {
  ResultNode node = std::move(open_.back());
  open_.pop_back();
  if (!open_.empty()) {
    open_.back().children.push_back(std::move(node));
  } else {
    std::move(node.children.begin(), node.children.end(), std::back_inserter(result_.nodes));
  }
}

/// Whether a node that the fault leaves open, the innermost, says something by itself.
bool Reader::isSound(const ResultNode& node) const {
  if (node.tag == ScanVOXTags::AS) return true;
  if (!node.columns->names.empty()) return !node.rows.empty();
  // Results stand in front of what they are about. Those of a file system are known by their place.
  const bool ofDirectory = open_.size() > 1 && open_[open_.size() - 2].number(ScanVOXTags::SD_TYPE) ==
                                                   CuStatDef::DIRECTORY_STATISTIC;
  return !ofDirectory || node.child(ScanVOXTags::SM) != nullptr;
}

/// The next line that isn't empty; nothing at the end of the file. A line without its end counts as cut.
std::optional<std::string_view> Reader::nextLine() {
  for (;;) {
    const int64_t begin = lines_.position();
    const auto line = lines_.next();
    if (!line && lines_.failed()) {
      throw ResultFileError("it can't be read: " + getSystemErrorMessage(lines_.error()));
    }
    ++line_;
    atEnd_ = !line || lines_.position() - begin == static_cast<int64_t>(line->size());
    if (!line) return std::nullopt;
    if (atEnd_) expected(line_ == 1 ? FIRST_LINE : "the rest of this line");
    if (digest_) {  // of what is read here: by its name the file might be another's by now
      digest_->add(*line);
      digest_->add("\n");
    }
    if (const std::string_view text = trimmed(*line); !text.empty()) return text;
  }
}

void Reader::expected(const std::string& what) const {
  throw ResultFault{line_, "expected " + what + (atEnd_ ? ", but the file ends here" : "")};
}

}  // namespace

ResultClass::ResultClass(const std::string& tag, Row columnNames)
    : names(std::move(columnNames)), kinds(names.size()), places(names.size()) {
  const std::vector<RecordClass>& classes = recordClasses();
  const auto known = std::find_if(classes.begin(), classes.end(), [&tag](const RecordClass& candidate) {
    return candidate.record.tag == tag;
  });
  for (size_t place = 0; place < names.size(); ++place) places.emplace(names[place], place);
  if (known == classes.end()) return;
  for (size_t i = 0; i < known->record.columns.size(); ++i) {
    const RecordDescription::Column& column = known->record.columns[i];
    if (i < names.size() && names[i] == column.tag) {  // where the job writes it
      kinds[i] = column.kind;
    } else if (const auto found = places.find(column.tag); found != places.end()) {
      kinds[found->second] = column.kind;
    }
  }
}

std::string ResultNode::text(std::string_view column) const {
  if (rows.empty()) return {};
  const auto place = columns->places.find(column);
  if (place == columns->places.end()) return {};
  const std::string& cell = rows[0][place->second];
  return cell == ScanVOXTags::VOX_NULL ? std::string() : cell;
}

int64_t ResultNode::number(std::string_view column) const {
  return toInt64(text(column));
}

std::vector<int64_t> ResultNode::numbers(std::string_view column) const {
  const std::string cell = text(column);
  std::vector<int64_t> values;
  for (std::string_view rest = cell; !rest.empty();) {
    values.push_back(toInt64(rest));
    const size_t comma = rest.find(',');
    rest.remove_prefix(comma == std::string_view::npos ? rest.size() : comma + 1);
  }
  return values;
}

const ResultNode* ResultNode::child(std::string_view childTag) const {
  for (const ResultNode& candidate : children) {
    if (candidate.tag == childTag) return &candidate;
  }
  return nullptr;
}

std::vector<const ResultNode*> ResultNode::childrenOf(std::string_view childTag) const {
  std::vector<const ResultNode*> found;
  for (const ResultNode& candidate : children) {
    if (candidate.tag == childTag) found.push_back(&candidate);
  }
  return found;
}

ResultFile readResultFile(const std::string& fileName, Checksum checksum) {
  return Reader(fileName, checksum).read();
}

}  // namespace agent::tools
