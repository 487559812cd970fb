#include "Scan/selection/PatternMatcher.h"

#include <locale.h>
#include <regex.h>

#include <cstring>
#include <string_view>

namespace agent {

namespace {

constexpr std::string_view ANY = "[^/]";
constexpr std::string_view RUN = "[^/]*";
constexpr std::string_view COMPONENT = "\\([^/]*/\\)";
constexpr std::string_view COMPONENTS = "\\([^/]*/\\)*";
constexpr std::string_view TAIL = "\\(/[^/]*\\)*";

unsigned char byteAt(const std::string& text, size_t position) {
  return static_cast<unsigned char>(text[position]);
}

/// This thread's locale is "C" while the object lives.
class ClassicLocale {
 public:
  ClassicLocale() : classic_(newlocale(LC_ALL_MASK, "C", nullptr)) {
    if (classic_ != nullptr) previous_ = uselocale(classic_);
  }
  ~ClassicLocale() {
    if (classic_ == nullptr) return;
    uselocale(previous_);
    freelocale(classic_);
  }
  ClassicLocale(const ClassicLocale&) = delete;
  ClassicLocale& operator=(const ClassicLocale&) = delete;

 private:
  locale_t classic_;
  locale_t previous_ = nullptr;
};

}  // namespace

// --- The program ---

bool PatternProgram::read(const std::string& expression) {
  steps_.clear();
  sets_.clear();
  if (expression.size() < 2 || expression.front() != '^' || expression.back() != '$') return false;
  size_t position = 1;
  while (position + 1 < expression.size()) {
    if (!readStep(expression, position)) return false;
  }
  // A set, an escape or a group that reached into the final "$".
  if (position + 1 != expression.size()) return false;
  if (steps_.empty() || steps_.back().kind != Kind::TAIL) add(Kind::END);
  return true;
}

bool PatternProgram::readStep(const std::string& expression, size_t& position) {
  const std::string_view rest = std::string_view(expression).substr(position);
  const bool atComponentStart =
      steps_.empty() || steps_.back().kind == Kind::SLASH || steps_.back().kind == Kind::COMPONENTS;
  if (rest.starts_with(TAIL)) {
    position += TAIL.size();
    add(Kind::TAIL);
    return position + 1 == expression.size();
  }
  if (rest.starts_with(COMPONENTS)) {
    position += COMPONENTS.size();
    // Two in a row are one: both stand for any number of components.
    if (steps_.empty() || steps_.back().kind != Kind::COMPONENTS) add(Kind::COMPONENTS);
    return atComponentStart;
  }
  if (rest.starts_with(COMPONENT)) {
    position += COMPONENT.size();
    add(Kind::RUN);
    add(Kind::SLASH);
    return atComponentStart;
  }
  if (rest.starts_with(RUN)) {
    position += RUN.size();
    if (steps_.empty() || steps_.back().kind != Kind::RUN) add(Kind::RUN);
    return true;
  }
  if (rest.starts_with(ANY)) {
    position += ANY.size();
    add(Kind::ANY);
    return true;
  }
  unsigned char byte = byteAt(expression, position++);
  switch (byte) {
    case '[':
      return readSet(expression, position);
    case '*':
    case '.':
    case '^':
    case '$':
    case '\0':
      return false;
    case '\\':
      // Before any other byte the platform may give the pair a meaning of its own.
      byte = byteAt(expression, position++);
      if (std::strchr("\\.*[]^$", byte) == nullptr || byte == '\0') return false;
      break;
    default:
      break;
  }
  add(byte == '/' ? Kind::SLASH : Kind::BYTE, byte);
  return position >= expression.size() || expression[position] != '*';
}

// `position` stands behind the "[". Takes only sets that can't match a slash: a step stays in its component.
bool PatternProgram::readSet(const std::string& expression, size_t& position) {
  const bool negated = expression[position] == '^';
  if (negated) ++position;
  ByteSet set;
  for (const size_t first = position; position == first || expression[position] != ']';) {
    if (!readMember(expression, first, position, set)) return false;
  }
  ++position;
  if (negated) set.flip();
  set.reset(0);  // the end of the text
  if (set.test('/') || expression[position] == '*') return false;
  add(Kind::SET, 0, static_cast<uint32_t>(sets_.size()));
  sets_.push_back(set);
  return true;
}

// Classes, equivalents and collating symbols are the platform's business, and so is a hyphen that is neither
// the first nor the last member.
bool PatternProgram::readMember(const std::string& expression, size_t first, size_t& position, ByteSet& set) {
  const auto opensClass = [&expression](size_t place) {
    return expression[place] == '[' &&
           std::string_view(".:=").find(expression[place + 1]) != std::string_view::npos;
  };
  // Behind the last byte of a string there is a NUL to look at, but no more.
  if (position + 2 >= expression.size() || opensClass(position)) return false;
  const size_t begin = position;
  if (expression[begin + 1] == '-' && expression[begin + 2] != ']') position += 2;
  if (opensClass(position)) return false;
  if (expression[begin] == '-' && begin != first && expression[begin + 1] != ']') return false;
  const unsigned char low = byteAt(expression, begin);
  const unsigned char high = byteAt(expression, position);
  if (high < low) return false;
  for (unsigned int member = low; member <= high; ++member) set.set(member);
  ++position;
  return true;
}

// Every step tries its shortest match first. That a later run or run of components is reached at all means
// that whatever follows can't be helped by an earlier one taking more: a later run starts in the same
// component and reaches every place that it could reach from further right, and where a component ends is not
// for a run to choose. So one place to resume at is enough for each of the two.
bool PatternProgram::matches(const char* text) const {
  const Step* step = steps_.data();
  const Step* runStep = nullptr;
  const char* runText = nullptr;
  const Step* componentsStep = nullptr;
  const char* componentsText = nullptr;
  for (;;) {
    bool fits = false;
    switch (step->kind) {
      case Kind::BYTE:
        fits = static_cast<unsigned char>(*text) == step->byte;
        break;
      case Kind::SLASH:
        fits = *text == '/';
        if (fits) runStep = nullptr;
        break;
      case Kind::ANY:
        fits = *text != '\0' && *text != '/';
        break;
      case Kind::SET:
        fits = sets_[step->set].test(static_cast<unsigned char>(*text));
        break;
      case Kind::RUN:
        runStep = ++step;
        runText = text;
        continue;
      case Kind::COMPONENTS:
        componentsStep = ++step;
        componentsText = text;
        runStep = nullptr;
        continue;
      case Kind::TAIL:
        if (*text == '\0' || *text == '/') return true;
        break;
      case Kind::END:
        if (*text == '\0') return true;
        break;
    }
    if (fits) {
      ++step;
      ++text;
    } else if (runStep != nullptr && *runText != '\0' && *runText != '/') {
      step = runStep;
      text = ++runText;
    } else if (componentsStep != nullptr && (componentsText = std::strchr(componentsText, '/')) != nullptr) {
      step = componentsStep;
      text = ++componentsText;
      runStep = nullptr;
    } else {
      return false;
    }
  }
}

// --- The matcher ---

/// Owns a regex_t that regcomp has filled.
struct PatternMatcher::Regex {
  ~Regex() {
    if (compiled) regfree(&regex);
  }

  /// @return regcomp's code
  int compile(const std::string& expression) {
    const ClassicLocale classic;
    const int code = regcomp(&regex, expression.c_str(), REG_NOSUB);
    compiled = code == 0;
    return code;
  }

  std::string errorText(int code) const {
    std::string text(regerror(code, &regex, nullptr, 0) + 1, '\0');
    regerror(code, &regex, text.data(), text.size());
    text.resize(std::strlen(text.c_str()));
    return text;
  }

  regex_t regex = {};
  bool compiled = false;
};

PatternMatcher::PatternMatcher() = default;
PatternMatcher::~PatternMatcher() = default;

std::unique_ptr<const PatternMatcher> PatternMatcher::compile(const std::string& expression,
                                                              std::string& error) {
  std::unique_ptr<PatternMatcher> matcher(new PatternMatcher);
  // What the program can read is right, and regcomp isn't asked: its memory grows with the square of the
  // number of runs.
  if (matcher->program_.read(expression)) return matcher;
  matcher->regex_ = std::make_unique<Regex>();
  if (const int code = matcher->regex_->compile(expression); code != 0) {
    error = matcher->regex_->errorText(code);
    return nullptr;
  }
  return matcher;
}

bool PatternMatcher::matches(const char* text) const {
  if (regex_ == nullptr) return program_.matches(text);
  return regexec(&regex_->regex, text, 0, nullptr, 0) == 0;
}

}  // namespace agent
