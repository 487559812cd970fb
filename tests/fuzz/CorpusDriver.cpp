// Runs a fuzz target without libFuzzer, so that every compiler's tests do it: each file of a corpus, then
// inputs made from them. Each made input follows from its number alone; one that fails is run again by itself
// with
//
//   driver <corpus directory> 1 <number>

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>
#include <vector>

#include "FuzzTarget.h"

namespace {

using Corpus = std::vector<std::string>;

volatile sig_atomic_t currentNumber = -1;

// Tells which made input it was; in a handler, so by hand.
void tellNumber(int) {
  char text[] = "input number ..........\n";
  char* digit = std::strrchr(text, '.');
  for (long number = currentNumber; *digit == '.'; --digit, number /= 10) {
    *digit = static_cast<char>(number < 0 ? '-' : '0' + number % 10);
  }
  (void)!write(STDERR_FILENO, text, sizeof text - 1);
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

/// Changes one input a little, with pieces of the others.
class Mutator {
 public:
  Mutator(const Corpus& corpus, uint32_t number) : corpus_(corpus), random_(number) {}

  std::string input() {
    std::string input = oneOf();
    for (size_t changes = 1 + random_() % 5; changes > 0; --changes) change(input);
    return input;
  }

 private:
  const std::string& oneOf() { return corpus_[random_() % corpus_.size()]; }
  size_t place(const std::string& text) { return random_() % (text.size() + 1); }

  void change(std::string& input) {
    const size_t where = place(input);
    const size_t length = 1 + random_() % 8;
    switch (random_() % 7) {
      case 0:
        if (where < input.size()) input[where] = static_cast<char>(input[where] ^ 1 << random_() % 8);
        break;
      case 1:
        if (where < input.size()) input[where] = static_cast<char>(random_());
        break;
      case 2:
        input.insert(where, 1, static_cast<char>(random_()));
        break;
      case 3:
        input.erase(where, length);
        break;
      case 4:
        input.insert(where, input.substr(place(input), 4 * length));
        break;
      case 5: {
        const std::string& other = oneOf();
        input.insert(where, other.substr(place(other), 4 * length));
        break;
      }
      default: {
        const std::string& other = oneOf();
        input = input.substr(0, where) + other.substr(place(other));
        break;
      }
    }
  }

  const Corpus& corpus_;
  std::mt19937 random_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "Usage: " << argv[0] << " CORPUS-DIRECTORY COUNT [FIRST]\n";
    return 2;
  }
  std::signal(SIGABRT, tellNumber);
  const Corpus corpus = readCorpus(argv[1]);
  if (corpus.empty()) {
    std::cerr << "the corpus '" << argv[1] << "' is empty\n";
    return 2;
  }
  for (const std::string& input : corpus) run(input);
  const long first = argc > 3 ? std::stol(argv[3]) : 0;
  const long count = std::stol(argv[2]);
  for (long number = first; number < first + count; ++number) {
    currentNumber = static_cast<sig_atomic_t>(number);
    run(Mutator(corpus, static_cast<uint32_t>(number)).input());
  }
  std::cout << corpus.size() << " inputs of the corpus and " << count << " made from them\n";
  return 0;
}
