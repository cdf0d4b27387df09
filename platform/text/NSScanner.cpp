#include "text/NSScanner.h"

#include <charconv>
#include <limits>

namespace zk {

Ref<NSScanner> NSScanner::scannerWithString(const Ref<NSString>& text) {
  return text ? std::make_shared<NSScanner>(text) : nullptr;
}

template <class T>
bool NSScanner::scanInteger(T& value) {
  const std::string_view text = text_->bytes();
  std::string_view rest = text.substr(location_ + skipped_->prefixLength(text, location_));
  const bool isNegative = rest.starts_with('-');
  if (isNegative || rest.starts_with('+')) rest.remove_prefix(1);

  std::uint64_t magnitude = 0;
  const char* const end = rest.data() + rest.size();
  const auto [behindDigits, error] = std::from_chars(rest.data(), end, magnitude);
  if (error == std::errc::invalid_argument) return false;

  const std::uint64_t largest = static_cast<std::uint64_t>(std::numeric_limits<T>::max()) + (isNegative ? 1 : 0);
  if (error == std::errc::result_out_of_range || magnitude > largest) magnitude = largest;
  value = static_cast<T>(isNegative ? 0 - magnitude : magnitude);
  location_ = text.size() - static_cast<std::size_t>(end - behindDigits);
  return true;
}

bool NSScanner::scanInt(std::int32_t& value) { return scanInteger(value); }

bool NSScanner::scanLongLong(std::int64_t& value) { return scanInteger(value); }

bool NSScanner::isAtEnd() const {
  const std::string& text = text_->bytes();
  return location_ + skipped_->prefixLength(text, location_) == text.size();
}

}  // namespace zk
