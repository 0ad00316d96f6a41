// Runs a fuzz target without libFuzzer. Every file named on the command line,
// and every file in every directory named there, is passed once to
// LLVMFuzzerTestOneInput. Then "-runs=N" more inputs follow, made from a
// fixed seed: random bytes, and the corpus inputs mutated (bytes changed,
// inserted, removed, cut off, copied). ctest runs each target's corpus this
// way, so that the targets' models see new inputs in every test run; named
// files alone (a crash to reproduce) are replayed without random inputs.
// A mismatch aborts the run.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <sys/stat.h>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
    __attribute__((weak));

namespace {

using Bytes = std::vector<std::uint8_t>;

void run(Bytes const& bytes) {
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

bool readFile(std::string const& path, std::vector<Bytes>& inputs) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    return false;
  }
  inputs.emplace_back((std::istreambuf_iterator<char>(in)),
                      std::istreambuf_iterator<char>());
  return true;
}

// One generated input: random bytes, or a corpus input with a few edits.
Bytes generate(std::mt19937& rng, std::vector<Bytes> const& corpus) {
  auto upTo = [&rng](std::size_t n) {
    return std::uniform_int_distribution<std::size_t>(0, n)(rng);
  };
  Bytes bytes;
  if (corpus.empty() || upTo(3) == 0) {
    bytes.resize(upTo(upTo(1) ? 16 : 256));
    for (auto& b : bytes)
      b = static_cast<std::uint8_t>(upTo(255));
    return bytes;
  }
  bytes = corpus[upTo(corpus.size() - 1)];
  for (std::size_t edits = 1 + upTo(7); edits > 0; --edits) {
    std::size_t const at = upTo(bytes.size());
    std::uint8_t const value =
        static_cast<std::uint8_t>(upTo(1) ? upTo(255) : upTo(3) * 0x7F);
    switch (upTo(4)) {
    case 0:
      bytes.insert(bytes.begin() + static_cast<long>(at), value);
      break;
    case 1:
      if (at < bytes.size())
        bytes.erase(bytes.begin() + static_cast<long>(at));
      break;
    case 2:
      bytes.resize(at);
      break;
    case 3: { // a copy of some part of the input, somewhere else
      std::size_t const from = upTo(bytes.size());
      std::size_t const n =
          upTo(std::min<std::size_t>(bytes.size() - from, 32));
      Bytes const part(bytes.begin() + static_cast<long>(from),
                       bytes.begin() + static_cast<long>(from + n));
      bytes.insert(bytes.begin() + static_cast<long>(at), part.begin(),
                   part.end());
      break;
    }
    default:
      if (at < bytes.size())
        bytes[at] = value;
      else
        bytes.push_back(value);
    }
  }
  return bytes;
}

} // namespace

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize != nullptr)
    LLVMFuzzerInitialize(&argc, &argv);
  bool failed = false;
  bool sawDirectory = false;
  long runs = -1;
  std::vector<Bytes> corpus;
  for (int i = 1; i < argc; ++i) {
    std::string const path = argv[i];
    if (path.compare(0, 6, "-runs=") == 0) {
      runs = std::strtol(path.c_str() + 6, nullptr, 10);
      continue;
    }
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {
      std::fprintf(stderr, "no such input: %s\n", path.c_str());
      failed = true;
    } else if (!S_ISDIR(info.st_mode)) {
      failed |= !readFile(path, corpus);
    } else if (DIR* dir = ::opendir(path.c_str())) {
      sawDirectory = true;
      std::vector<std::string> names; // sorted: the same inputs every run
      while (dirent* entry = ::readdir(dir))
        if (entry->d_name[0] != '.')
          names.push_back(path + "/" + entry->d_name);
      ::closedir(dir);
      std::sort(names.begin(), names.end());
      for (std::string const& name : names)
        failed |= !readFile(name, corpus);
    }
  }
  for (Bytes const& input : corpus)
    run(input);
  if (runs < 0)
    runs = sawDirectory ? 1000 : 0;
  std::mt19937 rng(20240611);
  for (long i = 0; i < runs; ++i)
    run(generate(rng, corpus));
  std::printf("replayed %zu inputs, ran %ld generated ones\n", corpus.size(),
              runs);
  return !failed && !corpus.empty() ? 0 : 1;
}
