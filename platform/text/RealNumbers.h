#pragma once

#include <optional>
#include <string_view>

namespace zk {

/// The real that the whole of `text` is, whatever the locale: decimal with an optional exponent, "nan", "inf" or
/// "infinity" in any case, with an optional sign. Nothing for any other text, and beyond the range of a double.
std::optional<double> realFromText(std::string_view text);

}  // namespace zk
