#pragma once

#include "objects/NSString.h"
#include "text/NSCharacterSet.h"

namespace zk {

/// Reads numbers from a text, one after the other.
class NSScanner final : public NSObject {
 public:
  /// `text` must not be absent.
  explicit NSScanner(Ref<NSString> text) : text_(std::move(text)) {}

  /// A scanner at the start of `text` that skips white space and line ends and ignores case; absent for an absent text.
  static Ref<NSScanner> scannerWithString(const Ref<NSString>& text);

  bool caseSensitive() const { return isCaseSensitive_; }
  void setCaseSensitive(bool isCaseSensitive) { isCaseSensitive_ = isCaseSensitive; }

  /// What each scan skips first. The set is not copied and has to outlive the scanner's last use.
  void setCharactersToBeSkipped(const NSCharacterSet& set) { skipped_ = &set; }
  void setCharactersToBeSkipped(const NSCharacterSet&&) = delete;

  /// Skips, then reads an optional sign and decimal digits. A number out of range reads as the nearer end of the range.
  /// @return false when no digit was found; `value` and the position are then as before, even if characters were
  /// skipped.
  bool scanInt(std::int32_t& value);
  bool scanLongLong(std::int64_t& value);

  /// Whether nothing remains but characters to be skipped.
  bool isAtEnd() const;
  /// Position of the next unread byte.
  std::size_t scanLocation() const { return location_; }

 private:
  template <class T>
  bool scanInteger(T& value);

  Ref<NSString> text_;
  std::size_t location_ = 0;
  const NSCharacterSet* skipped_ = &NSCharacterSet::whitespaceAndNewlineCharacterSet();
  bool isCaseSensitive_ = false;
};

}  // namespace zk
