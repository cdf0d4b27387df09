#include "posix/RandomName.h"

#include <unistd.h>

#include <cstdint>
#include <cstdio>

namespace zk {

std::string randomDigits() {
  std::uint64_t random = 0;
  if (::getentropy(&random, sizeof random) != 0) return "";
  char digits[17];
  std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(random));
  return digits;
}

}  // namespace zk
