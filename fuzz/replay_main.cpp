// Replays fuzz inputs without libFuzzer: every file named on the command
// line, and every file in every directory named there, is passed once to
// LLVMFuzzerTestOneInput. ctest runs each target's checked-in corpus this
// way in the normal build; a mismatch aborts the run.
#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
    __attribute__((weak));

namespace {

int replayFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    return 1;
  }
  std::vector<char> const bytes((std::istreambuf_iterator<char>(in)),
                                std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(bytes.data()),
                         bytes.size());
  return 0;
}

} // namespace

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize != nullptr)
    LLVMFuzzerInitialize(&argc, &argv);
  int failures = 0;
  int replayed = 0;
  for (int i = 1; i < argc; ++i) {
    std::string const path = argv[i];
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {
      std::fprintf(stderr, "no such input: %s\n", path.c_str());
      ++failures;
      continue;
    }
    if (!S_ISDIR(info.st_mode)) {
      failures += replayFile(path);
      ++replayed;
      continue;
    }
    DIR* dir = ::opendir(path.c_str());
    std::vector<std::string> names;
    while (dirent* entry = dir ? ::readdir(dir) : nullptr)
      if (entry->d_name[0] != '.')
        names.push_back(path + "/" + entry->d_name);
    if (dir)
      ::closedir(dir);
    for (std::string const& name : names) {
      failures += replayFile(name);
      ++replayed;
    }
  }
  std::printf("replayed %d inputs\n", replayed);
  return failures == 0 && replayed > 0 ? 0 : 1;
}
