// Runs a fuzz target without libFuzzer: every file named, and every file in
// every directory named, once; then "-runs=N" inputs made from a fixed seed
// (random bytes, corpus inputs with a few edits), so the targets' models see
// new inputs in every test run. Files named alone (a crash to reproduce) are
// replayed without them. A mismatch aborts the run.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
    __attribute__((weak));

namespace {

using Bytes = std::vector<std::uint8_t>;

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
  namespace fs = std::filesystem;
  bool failed = false, sawDirectory = false;
  long runs = -1;
  std::vector<Bytes> corpus;
  for (int i = 1; i < argc; ++i) {
    std::string const arg = argv[i];
    std::vector<fs::path> files; // sorted: the same inputs every run
    std::error_code error;
    if (arg.compare(0, 6, "-runs=") == 0)
      runs = std::strtol(arg.c_str() + 6, nullptr, 10);
    else if (fs::is_directory(arg, error))
      for (auto const& entry : fs::directory_iterator(arg, error))
        files.push_back(entry.path());
    else
      files.push_back(arg);
    sawDirectory |= fs::is_directory(arg, error);
    std::sort(files.begin(), files.end());
    for (fs::path const& file : files) {
      std::ifstream in(file, std::ios::binary);
      failed |= !in;
      if (in)
        corpus.emplace_back((std::istreambuf_iterator<char>(in)),
                            std::istreambuf_iterator<char>());
      else
        std::fprintf(stderr, "cannot read %s\n", file.c_str());
    }
  }
  for (Bytes const& input : corpus)
    LLVMFuzzerTestOneInput(input.data(), input.size());
  if (runs < 0)
    runs = sawDirectory ? 1000 : 0;
  std::mt19937 rng(20240611);
  for (long i = 0; i < runs; ++i) {
    Bytes const input = generate(rng, corpus);
    LLVMFuzzerTestOneInput(input.data(), input.size());
  }
  std::printf("replayed %zu inputs, ran %ld generated ones\n", corpus.size(),
              runs);
  return !failed && !corpus.empty() ? 0 : 1;
}
