#include "text/RealNumbers.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <string>

#include "objects/InCLocale.h"
#include "text/Characters.h"

namespace zk {

std::optional<double> realFromText(std::string_view text) {
  // strtod() also accepts white space before the number, hexadecimal, and parentheses after "nan".
  if (text.empty() || isSpace(text.front()) || text.find_first_of("xX(") != std::string_view::npos) return std::nullopt;

  const std::string terminated(text);
  const int errorNumber = errno;
  errno = 0;
  char* end = nullptr;
  const InCLocale scope;
  const double value = std::strtod(terminated.c_str(), &end);
  const bool isInRange = errno != ERANGE || (value != 0 && !std::isinf(value));  // else it only lost bits
  errno = errorNumber;
  return isInRange && end == terminated.c_str() + terminated.size() ? std::optional(value) : std::nullopt;
}

}  // namespace zk
