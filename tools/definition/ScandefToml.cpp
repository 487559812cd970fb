#include "definition/ScandefToml.h"

#define TOML_HEADER_ONLY 1  // no library of its own on hosts
#include <toml++/toml.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <string_view>

#include "Common/SafeText.h"
#include "Common/unix/psmsgutil.h"
#include "definition/ScandefOptions.h"

namespace agent::scandef {

namespace {

/// Keys that aren't options of a statistic; of a job, or of a file system.
constexpr std::array<std::string_view, 7> JOB_KEYS = {"job",        "computer", "server", "sid",
                                                      "run-number", "install",  "rows"};
constexpr std::array<std::string_view, 3> FILESYSTEM_KEYS = {"path", "type", "id"};

/// One file, being handed to the options.
class TomlDefinition {
 public:
  TomlDefinition(std::string fileName, ScandefOptions& options)
      : fileName_(std::move(fileName)), options_(options) {}

  void read();

 private:
  [[noreturn]] void fail(const toml::source_region& place, const std::string& reason) const;
  void set(const toml::source_region& place, const std::string& option, const std::string& value);
  std::string textOf(const std::string& key, const toml::node& value) const;
  void option(const toml::key& key, const toml::node& value);
  void each(const toml::key& key, const toml::node& value, const std::string& option);
  template <typename Each>
  void eachTable(const toml::key& key, const toml::node& value, Each each);
  void filesystem(const toml::table& table);
  void statistic(const toml::table& table);
  [[noreturn]] void unknown(const toml::key& key, const char* where, const std::string& keys) const;

  std::string fileName_;
  ScandefOptions& options_;
};

std::string contentOf(const std::string& fileName) {
  std::ifstream file(fileName, std::ios::binary);
  std::ostringstream text;
  if (file) text << file.rdbuf();
  if (!file || file.bad())
    throw UsageError(shown(fileName) + " can't be read: " + getSystemErrorMessage(errno));
  return text.str();
}

bool isStatisticOption(std::string_view name) {
  return std::any_of(STATISTIC_OPTIONS.begin(), STATISTIC_OPTIONS.end(),
                     [name](const StatisticOption& known) { return name == known.name; });
}

template <typename Keys>
std::string listed(const Keys& keys) {
  std::string text;
  for (const std::string_view key : keys) text += (text.empty() ? "" : ", ") + std::string(key);
  return text;
}

void TomlDefinition::fail(const toml::source_region& place, const std::string& reason) const {
  throw UsageError(safeText(fileName_, Backslash::KEPT) + ":" + std::to_string(place.begin.line) + ":" +
                   std::to_string(place.begin.column) + ": " + reason);
}

// What the option finds wrong is told with the place in the file.
void TomlDefinition::set(const toml::source_region& place, const std::string& option,
                         const std::string& value) {
  try {
    options_.set(option, value);
  } catch (const UsageError& error) {
    const std::string reason = error.what();
    fail(place, reason.starts_with("--") ? reason.substr(2) : reason);
  }
}

std::string TomlDefinition::textOf(const std::string& key, const toml::node& value) const {
  if (const auto text = value.value_exact<std::string>()) return *text;
  if (const auto number = value.value_exact<int64_t>()) return std::to_string(*number);
  fail(value.source(), "expected a text or a number for " + key);
}

// A key that is an option: true for one without a value, otherwise its value.
void TomlDefinition::option(const toml::key& key, const toml::node& value) {
  const std::string name = "--" + std::string(key.str());
  if (options_.takesValue(name).value_or(true)) {
    const std::string text = textOf(std::string(key.str()), value);
    set(value.source(), name, text);
    return;
  }
  const auto wanted = value.value_exact<bool>();
  if (!wanted) fail(value.source(), "expected true or false for " + std::string(key.str()));
  if (*wanted) set(value.source(), name, "");
}

// A text, or an array of texts: the option for each.
void TomlDefinition::each(const toml::key& key, const toml::node& value, const std::string& option) {
  const std::string name(key.str());
  if (const toml::array* all = value.as_array()) {
    for (const toml::node& one : *all) set(one.source(), option, textOf(name, one));
  } else {
    set(value.source(), option, textOf(name, value));
  }
}

template <typename Each>
void TomlDefinition::eachTable(const toml::key& key, const toml::node& value, Each each) {
  const toml::array* const all = value.as_array();
  if (all == nullptr || !all->is_array_of_tables()) {
    fail(value.source(), "expected [[" + std::string(key.str()) + "]] in double brackets, one for each");
  }
  for (const toml::node& one : *all) each(*one.as_table());
}

void TomlDefinition::unknown(const toml::key& key, const char* where, const std::string& keys) const {
  fail(key.source(),
       "there is no " + shown(std::string(key.str())) + " " + where + ": expected one of " + keys);
}

void TomlDefinition::filesystem(const toml::table& table) {
  const toml::node* const path = table.get("path");
  if (path == nullptr) fail(table.source(), "expected a path in this [[filesystem]]");
  for (const auto& [key, value] : table) {
    if (std::find(FILESYSTEM_KEYS.begin(), FILESYSTEM_KEYS.end(), key.str()) == FILESYSTEM_KEYS.end())
      unknown(key, "in a [[filesystem]]", listed(FILESYSTEM_KEYS));
  }
  const toml::node* const id = table.get("id");
  set(path->source(), "--filesystem", (id != nullptr ? textOf("id", *id) + "=" : "") + textOf("path", *path));
  if (const toml::node* type = table.get("type")) set(type->source(), "--type", textOf("type", *type));
}

void TomlDefinition::statistic(const toml::table& table) {
  const toml::node* const name = table.get("name");
  if (name == nullptr) fail(table.source(), "expected a name in this [[statistic]]");
  set(name->source(), "--statistic", textOf("name", *name));
  for (const auto& [key, value] : table) {
    if (key.str() == "only") {
      each(key, value, "--only");
    } else if (isStatisticOption(key.str()) || key.str() == "directories") {
      option(key, value);
    } else if (key.str() != "name") {
      std::string keys = "name, only, directories";
      for (const StatisticOption& known : STATISTIC_OPTIONS) keys += ", " + std::string(known.name);
      unknown(key, "in a [[statistic]]", keys);
    }
  }
}

void TomlDefinition::read() {
  toml::table root;
  try {
    root = toml::parse(contentOf(fileName_), fileName_);
  } catch (const toml::parse_error& error) {
    fail(error.source(), safeText(error.description(), Backslash::KEPT));
  }
  // File systems first: what is only for some names them.
  for (const auto& [key, value] : root) {
    if (key.str() == "filesystems") each(key, value, "--filesystem");
    if (key.str() == "filesystem")
      eachTable(key, value, [this](const toml::table& table) { filesystem(table); });
  }
  for (const auto& [key, value] : root) {
    if (key.str() == "monitor") {
      each(key, value, "--monitor");
    } else if (key.str() == "statistic") {
      eachTable(key, value, [this](const toml::table& table) { statistic(table); });
    } else if (std::find(JOB_KEYS.begin(), JOB_KEYS.end(), key.str()) != JOB_KEYS.end()) {
      option(key, value);
    } else if (key.str() != "filesystem" && key.str() != "filesystems") {
      unknown(key, "here", listed(JOB_KEYS) + ", filesystems, monitor, [[filesystem]], [[statistic]]");
    }
  }
}

}  // namespace

void readToml(const std::string& fileName, ScandefOptions& options) {
  TomlDefinition(fileName, options).read();
}

}  // namespace agent::scandef
