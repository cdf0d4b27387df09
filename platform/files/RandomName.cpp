#include "files/RandomName.h"

#include <cstdint>
#include <cstdio>

#include "system/Port.h"

namespace zk {

SystemError makeRandomDigits(std::string& digits) {
  std::uint64_t random = 0;
  if (const auto error = port::fillWithRandomBytes(&random, sizeof random)) return error;
  char text[17];
  static_cast<void>(std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(random)));
  digits = text;
  return {};
}

}  // namespace zk
