#pragma once

#include <optional>
#include <string_view>

namespace zk {

/// Reads all of `text` as a real, whatever the locale: decimal with an optional exponent, "nan", "inf" or "infinity" in
/// any case, with an optional sign. Nothing for any other text, or for a value beyond the range of a double.
std::optional<double> realFromText(std::string_view text);

}  // namespace zk
