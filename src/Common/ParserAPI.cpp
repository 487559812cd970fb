#include "Common/ParserAPI.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <utility>

#include "Common/TagPattern.h"
#include "Common/VOXParserException.h"
#include "Common/unix/FileDescriptor.h"
#include "Common/unix/psmsgutil.h"
#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

// Compiled at their first use: what goes wrong there is an exception of the parser that needs them.
const TagPattern& openTagPattern() {
  static const TagPattern PATTERN("(^\\s*\\[){1}([a-zA-Z0-9]+,?[a-zA-Z0-9]+)(\\]$){1}");
  return PATTERN;
}

const TagPattern& closeTagPattern() {
  static const TagPattern PATTERN("(^\\s*\\[/){1}([a-zA-Z0-9]+)(\\]$){1}");
  return PATTERN;
}

constexpr std::string_view TRIMMED = "\t\n\r\f ";
constexpr std::string_view PATTERN_SPACE = "\t\n\v\f\r ";  // what \s takes; the vertical tab is not trimmed

std::string_view trim(std::string_view line) {
  const size_t first = line.find_first_not_of(TRIMMED);
  if (first == std::string_view::npos) return {};
  return line.substr(first, line.find_last_not_of(TRIMMED) - first + 1);
}

bool isNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

/// What a trimmed line is, with the parts of an open tag.
struct LineKind {
  enum { DATA, OPEN_TAG, CLOSE_TAG } kind = DATA;
  std::string name;       // of an open tag: what stands in front of its comma
  std::string qualifier;  // and behind it
};

/// False only for lines that neither pattern can match. Nearly all lines are rows, some of them of megabytes:
/// they are told by their ends. The look at the characters between keeps away from the matcher what it would
/// need quadratic time to refuse ("[aaa...a!]").
bool mayBeTag(std::string_view line) {
  if (line.empty() || line.back() != ']') return false;
  const size_t bracket = line.find_first_not_of(PATTERN_SPACE);
  if (line[bracket] != '[') return false;
  std::string_view inside = line.substr(bracket + 1, line.size() - bracket - 2);
  if (!inside.empty() && inside.front() == '/') inside.remove_prefix(1);
  if (inside.empty() || !isNameCharacter(inside.front()) || !isNameCharacter(inside.back())) return false;
  int commas = 0;
  for (const char c : inside) {
    if (isNameCharacter(c)) continue;
    if (c != ',' || ++commas > 1) return false;
  }
  return true;
}

LineKind classify(std::string_view line) {
  LineKind result;
  if (!mayBeTag(line)) return result;
  if (const auto name = openTagPattern().match(line)) {
    result.kind = LineKind::OPEN_TAG;
    const size_t comma = name->find(',');
    result.name = name->substr(0, comma);
    if (comma != std::string_view::npos) result.qualifier = name->substr(comma + 1);
  } else if (closeTagPattern().match(line)) {
    result.kind = LineKind::CLOSE_TAG;
  }
  return result;
}

std::string closeTagOf(const ParserAPI::Entity& entity) {
  std::string tag(ParserAPI::endNodeOpen);
  tag += entity.name;
  tag += ParserAPI::nodeClose;
  return tag;
}

/// By how much a line changes the depth of nesting.
int depthChange(const LineKind& kind, std::string_view line) {
  switch (kind.kind) {
    case LineKind::OPEN_TAG:
      return line == ParserAPI::OPEN_HEADER ? 0 : 1;
    case LineKind::CLOSE_TAG:
      return line == ParserAPI::CLOSE_HEADER ? 0 : -1;
    default:
      return 0;
  }
}

/// One cell as it stands between its commas, turned into its value.
std::string cellValue(std::string_view field) {
  if (field == "null") return {};
  const bool quoted = field.size() >= 2 && field.front() == '"' && field.back() == '"';
  if (!quoted) return std::string(field);
  field = field.substr(1, field.size() - 2);
  std::string value;
  value.reserve(field.size());
  for (size_t i = 0; i < field.size(); ++i) {
    value += field[i];
    if (field[i] == '"' && i + 1 < field.size() && field[i + 1] == '"') ++i;
  }
  return value;
}

std::string requireName(std::string file) {
  if (file.empty()) {
    throw VOXParserException(VOXParserException::EMPTY_FILE_NAME,
                             "Error, path to scan definition file empty\n");
  }
  return file;
}

}  // namespace

Row ParserAPI::splitLine(std::string_view line) {
  Row row;
  bool insideQuotes = false;
  size_t fieldStart = 0;
  for (size_t i = 0; i <= line.size(); ++i) {
    const bool atEnd = i == line.size();
    if (!atEnd && line[i] == '"') insideQuotes = !insideQuotes;
    if (!atEnd && (line[i] != ',' || insideQuotes)) continue;
    if (i > fieldStart) row.push_back(cellValue(line.substr(fieldStart, i - fieldStart)));
    fieldStart = i + 1;
  }
  return row;
}

ParserAPI::ParserAPI(std::string file) : ParserAPI(requireName(std::move(file)), false) {}

ParserAPI::ParserAPI(std::string file, bool needNumEntities)
    : Object(CLASSNAME), fileName_(std::move(file)), raf_(FileDescriptor()) {
  initialize(needNumEntities);
}

void ParserAPI::initialize(bool needNumEntities) {
  TRACE_SCOPE("ParserAPI::initialize()");
  // Only a plain file is a definition; without O_NONBLOCK a pipe in its place would keep the job waiting.
  FileDescriptor file = openFile(fileName_.c_str(), O_RDONLY | O_NONBLOCK);
  struct stat status;
  const bool opened = file && sys.fstat(file.get(), &status) == 0;
  if (!opened || !S_ISREG(status.st_mode)) {
    const std::string reason = opened ? "it is no regular file" : getSystemErrorMessage();
    TRACE(TR_MIN, "ERROR opening the file '%s'.", fileName_.c_str());
    throw VOXParserException(VOXParserException::NOT_OPENED, "ERROR, not able to open scan definition file\n",
                             reason);
  }
  raf_ = LineReader(std::move(file));
  if (needNumEntities) {
    countEntities();
  } else {
    readHeaderBlock();
  }
}

void ParserAPI::readHeaderBlock() {
  constexpr const char* OPERATION = "initialize(bool needNumEntities)";
  bool headerSeen = false;
  std::string currentClass;
  while (const auto line = nextLine(OPERATION)) {
    if (!headerSeen && *line == OPEN_HEADER) {
      TRACE(TR_MAX, "Header found\n");
      headerSeen = true;
    }
    LineKind kind = classify(*line);
    if (kind.kind == LineKind::OPEN_TAG) {
      currentClass = std::move(kind.name);
      if (!kind.qualifier.empty()) currentClass += "," + kind.qualifier;
    } else if (*line == CLOSE_HEADER) {
      TRACE(TR_MAX, "Close header found\n");
      return;
    } else {
      headerTable_.try_emplace(currentClass, splitLine(*line));  // the first row of a class stays
    }
  }
}

// Counts the nodes that are closed, one inside another as one. A class of the header block has no close tag:
// the first of them is searched for until its node in the body closes.
void ParserAPI::countEntities() {
  constexpr const char* OPERATION = "initialize(bool needNumEntities)";
  int64_t bodyStart = 0;
  std::string searchedTag;
  while (const auto line = nextLine(OPERATION)) {
    if (*line == CLOSE_HEADER) {
      bodyStart = raf_.position();
      TRACE(TR_MAX, "FilePointer: %lld\n", static_cast<long long>(bodyStart));
    } else if (!searchedTag.empty()) {
      if (*line != searchedTag) continue;
      entityTable_[static_cast<int>(entityTable_.size())] =
          searchedTag.substr(endNodeOpen.size(), searchedTag.size() - endNodeOpen.size() - nodeClose.size());
      searchedTag.clear();
    } else if (line->substr(0, 1) == beginNodeOpen && *line != OPEN_HEADER) {
      searchedTag = std::string(endNodeOpen) + std::string(line->substr(1));
    }
  }
  TRACE(TR_MAX, "Trying seekg on FilePointer %lld\n", static_cast<long long>(bodyStart));
  seek(bodyStart, OPERATION);
}

std::optional<ParserAPI::Entity> ParserAPI::findFirstEntity(bool lookForHeader) {
  TRACE_SCOPE("ParserAPI::findFirstEntity()");
  while (const auto line = nextLine("findFirstEntity()")) {
    if (lookForHeader && *line == CLOSE_HEADER) continue;
    lookForHeader = false;
    if (*line == OPEN_HEADER) continue;
    LineKind kind = classify(*line);
    if (kind.kind == LineKind::OPEN_TAG) return entityHere(std::move(kind.name), std::move(kind.qualifier));
  }
  return std::nullopt;
}

std::optional<ParserAPI::Entity> ParserAPI::findNextEntity(const std::optional<Entity>& ef) {
  TRACE_SCOPE("ParserAPI::findNextEntity()");
  if (!ef) return findFirstEntity(false);
  constexpr const char* OPERATION = "findNextEntity()";
  seek(ef->dataPos, OPERATION);
  const std::string closeTag = closeTagOf(*ef);
  int64_t depth = 0;
  while (const auto line = nextLine(OPERATION)) {
    depth += depthChange(classify(*line), *line);
    // A stray close tag has taken the depth below this node for good: the walk then runs to the file's end.
    if (depth == -1 && *line == closeTag) break;
  }
  return findFirstEntity(false);
}

const HeaderRow& ParserAPI::getEntityHeader(const Entity& entity) const {
  TRACE_SCOPE("ParserAPI::getEntityHeader()");
  const auto found = headerTable_.find(entity.name);
  if (found == headerTable_.end()) {
    TRACE(TR_MIN, "Element %s not found on headerTable\n", entity.name.c_str());
    throw VOXParserException(VOXParserException::CLASS_NOT_IN_HEADER,
                             "Element %s not found on headerTable\n");
  }
  TRACE(TR_MAX, "iterator access worked!!\n");
  return found->second;
}

Rows ParserAPI::getEntityData(Entity& entity, int rows) {
  TRACE_SCOPE("ParserAPI::getEntityData()");
  constexpr const char* OPERATION = "getEntityData()";
  seek(entity.startPos, OPERATION);
  Rows result;
  while (rows < 0 || result.size() < static_cast<size_t>(rows)) {
    const auto line = nextLine(OPERATION);
    if (!line || line->empty() || classify(*line).kind != LineKind::DATA) break;
    result.push_back(splitLine(*line));
    entity.dataPos = raf_.position();
    if (rows >= 0) entity.startPos = entity.dataPos;
  }
  return result;
}

std::vector<ParserAPI::Entity> ParserAPI::getEntityChildren(const Entity& entity) {
  TRACE_SCOPE("ParserAPI::getEntityChildren()");
  constexpr const char* OPERATION = "getEntityChildren()";
  seek(entity.dataPos, OPERATION);
  std::vector<Entity> children;
  int64_t depth = 0;
  // The close tag that leaves the entity ends it, also one that is spelled wrong: a search for the right one
  // would read the rest of the file, for each of many entities, and give it the children of others.
  while (depth >= 0) {
    const auto line = nextLine(OPERATION);
    if (!line) break;
    LineKind kind = classify(*line);
    const int change = depthChange(kind, *line);
    depth += change;
    if (depth == 1 && change == 1) {
      children.push_back(entityHere(std::move(kind.name), std::move(kind.qualifier)));
    }
  }
  return children;
}

void ParserAPI::closeFile() {
  TRACE_SCOPE("ParserAPI::closeFile()");
  raf_.close();
  headerTable_.clear();
}

int64_t ParserAPI::lineNumber(const Entity& entity) {
  return linesUpTo(entity.startPos);
}

/// How many lines there are up to a byte offset, as far as they can be read.
int64_t ParserAPI::linesUpTo(int64_t position) {
  int64_t lines = 0;
  if (raf_.seek(0)) {
    while (raf_.position() < position && raf_.next()) ++lines;
  }
  return lines;
}

ParserAPI::Entity ParserAPI::entityHere(std::string name, std::string qualifier) const {
  return {std::move(name), raf_.position(), raf_.position(), std::move(qualifier)};
}

std::optional<std::string_view> ParserAPI::nextLine(const char* operation) {
  const auto line = raf_.next();
  if (line) return trim(*line);
  if (raf_.failed()) throwFileFailure("getLine()", operation, linesUpTo(raf_.position()) + 1);
  return std::nullopt;
}

void ParserAPI::seek(int64_t position, const char* operation) {
  if (!raf_.seek(position)) throwFileFailure("seekg()", operation, 0);
}

void ParserAPI::throwFileFailure(const char* call, const char* operation, int64_t line) const {
  throw VOXParserException(VOXParserException::SEEK_OR_READ_FAILURE,
                           std::string("ERROR on executing ") + call + " in ParserAPI::" + operation +
                               ". ERRORCODE: " + std::to_string(VOXParserException::SEEK_OR_READ_FAILURE) +
                               " File Name: " + fileName_,
                           getSystemErrorMessage(raf_.error()), line);
}

}  // namespace agent
