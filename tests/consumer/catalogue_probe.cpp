// Run by tests/consumer/installed-catalogue.sh against an installed copy of
// the library: prints which library file was loaded and the text of a
// library exception (message 1010). An argument is first handed to
// DBase::setMessageFile.
#include <dbase.hpp>
#include <dstring.hpp>

#include <cstdio>
#include <cstring>
#include <link.h>

int main(int argc, char** argv) {
  if (argc > 1)
    DBase::setMessageFile(argv[1]);
  ::dl_iterate_phdr(
      [](dl_phdr_info* info, std::size_t, void*) {
        if (std::strstr(info->dlpi_name, "libzyncmncoll.so") != nullptr)
          std::printf("library %s\n", info->dlpi_name);
        return 0;
      },
      nullptr);
  try {
    DString const tooLong(nullptr, 0xFFFFFFFFu, ' ');
  } catch (DException const& e) {
    std::printf("text %s\n", e.text());
    return 0;
  }
  return 1;
}
