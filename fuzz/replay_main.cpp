// Runs a fuzz target without libFuzzer on every file named and every file
// in every directory named, then on "-runs=N" inputs made from a fixed seed
// (random bytes, corpus inputs with a few edits).
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

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize != nullptr)
    LLVMFuzzerInitialize(&argc, &argv);
  namespace fs = std::filesystem;
  using Bytes = std::vector<std::uint8_t>;
  std::vector<Bytes> corpus;
  long runs = 0;
  for (int i = 1; i < argc; ++i) {
    std::string const arg = argv[i];
    std::vector<fs::path> files; // sorted: the same inputs every run
    if (arg.compare(0, 6, "-runs=") == 0)
      runs = std::strtol(arg.c_str() + 6, nullptr, 10);
    else if (fs::is_directory(arg))
      files.assign(fs::directory_iterator(arg), fs::directory_iterator());
    else
      files.push_back(arg);
    std::sort(files.begin(), files.end());
    for (fs::path const& file : files) {
      std::ifstream in(file, std::ios::binary);
      in.exceptions(std::ios::failbit); // a file that cannot be read
      corpus.emplace_back(std::istreambuf_iterator<char>(in),
                          std::istreambuf_iterator<char>());
      LLVMFuzzerTestOneInput(corpus.back().data(), corpus.back().size());
    }
  }
  std::mt19937 rng(20240611);
  auto upTo = [&rng](std::size_t n) {
    return std::uniform_int_distribution<std::size_t>(0, n)(rng);
  };
  for (long i = 0; i < runs; ++i) {
    Bytes bytes;
    if (corpus.empty() || upTo(3) == 0) {
      bytes.resize(upTo(upTo(1) ? 16 : 256));
      for (auto& b : bytes)
        b = static_cast<std::uint8_t>(upTo(255));
    } else {
      bytes = corpus[upTo(corpus.size() - 1)];
      for (std::size_t edits = 1 + upTo(7); edits > 0; --edits) {
        std::size_t const at = upTo(bytes.size());
        auto const value =
            static_cast<std::uint8_t>(upTo(1) ? upTo(255) : upTo(3) * 0x7F);
        std::size_t const kind = upTo(4);
        if (kind == 0 || (kind == 4 && at == bytes.size()))
          bytes.insert(bytes.begin() + at, value);
        else if (kind == 1 && at < bytes.size())
          bytes.erase(bytes.begin() + at);
        else if (kind == 2)
          bytes.resize(at);
        else if (kind == 3) { // a copy of some part somewhere else
          auto const part = bytes.begin() + upTo(bytes.size());
          Bytes const copy(part, part + upTo(std::min<std::ptrdiff_t>(
                                            bytes.end() - part, 32)));
          bytes.insert(bytes.begin() + at, copy.begin(), copy.end());
        } else if (kind == 4)
          bytes[at] = value;
      }
    }
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  }
  std::printf("replayed %zu inputs, ran %ld generated ones\n", corpus.size(),
              runs);
  return corpus.empty() ? 1 : 0;
}
