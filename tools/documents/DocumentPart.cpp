#include "documents/DocumentPart.h"

#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>

namespace agent::tools {

namespace {

std::string contentOf(const std::string& fileName) {
  std::ostringstream text;
  text << std::ifstream(fileName).rdbuf();
  return text.str();
}

/// The document with the part as it should be; none, with a message, where it has no place for it.
std::optional<std::string> renewed(const DocumentPart& part, const std::string& fileName,
                                   const std::string& document) {
  const size_t begin = document.find(part.begin);
  const size_t end = document.find(part.end);
  if (begin == std::string::npos || end == std::string::npos || end < begin) {
    std::cerr << part.program << ": \"" << fileName << "\" can't be read or lacks the lines\n"
              << part.begin << part.end;
    return std::nullopt;
  }
  return document.substr(0, begin) + part.begin + part.text + document.substr(end);
}

}  // namespace

int DocumentPart::write(const std::string& fileName) const {
  const auto document = renewed(*this, fileName, contentOf(fileName));
  if (!document) return 1;
  std::ofstream file(fileName);
  file << *document << std::flush;
  if (!file) std::cerr << program << ": \"" << fileName << "\" can't be written\n";
  return file ? 0 : 1;
}

int DocumentPart::check(const std::string& fileName) const {
  const std::string document = contentOf(fileName);
  const auto wantedDocument = renewed(*this, fileName, document);
  if (!wantedDocument) return 1;
  if (document == *wantedDocument) return 0;
  std::istringstream stands(document), wanted(*wantedDocument);
  std::string was, is;
  do {
    std::getline(stands, was);
    std::getline(wanted, is);
  } while (was == is);
  std::cerr << program << ": \"" << fileName << "\" isn't what it should be. It has\n  " << was
            << "\ninstead of\n  " << is << "\n"
            << program << " --write renews it.\n";
  return 1;
}

}  // namespace agent::tools
