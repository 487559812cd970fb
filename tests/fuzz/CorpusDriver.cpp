// Runs a fuzz target without libFuzzer, so that every compiler's tests do it: each file of a corpus, then
// inputs made from them. Each made input follows from its number alone; one that fails is run again by itself
// with
//
//   driver <corpus directory> 1 <number>

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>
#include <vector>

#include "FuzzTarget.h"

namespace {

using Corpus = std::vector<std::string>;

std::string current = "input of the corpus\n";

/// Tells which input it was that failed.
void tellCurrent(int) {
  (void)!write(STDERR_FILENO, current.data(), current.size());
}

Corpus readCorpus(const std::string& directory) {
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  Corpus corpus;
  for (const auto& path : paths) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    corpus.push_back(text.str());
  }
  return corpus;
}

void run(const std::string& input) {
  // On the heap and without a byte behind it, so that a sanitizer sees a read too many.
  const std::vector<uint8_t> bytes(input.begin(), input.end());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

/// One input a little changed, with pieces of the others.
std::string madeInput(const Corpus& corpus, uint32_t number) {
  std::mt19937 random(number);
  const auto oneOf = [&]() -> const std::string& { return corpus[random() % corpus.size()]; };
  const auto place = [&](const std::string& text) { return random() % (text.size() + 1); };
  std::string input = oneOf();
  for (size_t changes = 1 + random() % 5; changes > 0; --changes) {
    const size_t where = place(input), length = random() % 32;
    const std::string& other = random() % 2 == 0 ? input : oneOf();
    const std::string piece = other.substr(place(other), length);
    switch (random() % 5) {
      case 0:
        if (where < input.size()) input[where] = static_cast<char>(input[where] ^ 1 << random() % 8);
        break;
      case 1:
        input.insert(where, 1, static_cast<char>(random()));
        break;
      case 2:
        input.erase(where, length / 4);
        break;
      case 3:
        input.insert(where, piece);
        break;
      default:
        input = input.substr(0, where) + other.substr(place(other));
        break;
    }
  }
  return input;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "Usage: " << argv[0] << " CORPUS-DIRECTORY COUNT [FIRST]\n";
    return 2;
  }
  std::signal(SIGABRT, tellCurrent);
  const Corpus corpus = readCorpus(argv[1]);
  if (corpus.empty()) {
    std::cerr << "the corpus '" << argv[1] << "' is empty\n";
    return 2;
  }
  for (const std::string& input : corpus) run(input);
  const long first = argc > 3 ? std::stol(argv[3]) : 0;
  const long count = std::stol(argv[2]);
  for (long number = first; number < first + count; ++number) {
    current = "input number " + std::to_string(number) + "\n";
    run(madeInput(corpus, static_cast<uint32_t>(number)));
  }
  std::cout << corpus.size() << " inputs of the corpus and " << count << " made from them\n";
  return 0;
}
