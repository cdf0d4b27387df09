#pragma once

#include "objects/NSNumber.h"
#include "objects/NSString.h"

namespace zk {

/// The settings of this run: pairs on the command line of a key, written with a leading hyphen, and a value. If a key
/// is given twice, the last one wins. A key directly before another key, or at the end, has the empty text as its
/// value. A hyphen followed by a digit begins a value. A lone "-", "--" and stray words are ignored unless they follow
/// a key.
class NSUserDefaults {
 public:
  static NSUserDefaults& standardUserDefaults();

  /// The setting as text, or absent.
  Ref<NSString> stringForKey(const Ref<NSString>& key) const;
  /// The setting as a whole number: white space, an optional sign and decimal digits, whatever follows them, saturating
  /// at 64 bits; 0 without a digit.
  std::int64_t integerForKey(const Ref<NSString>& key) const;
  /// The setting as a boolean: true if, after white space, an optional sign and zeros, the next character is one of Y y
  /// T t 1-9.
  bool boolForKey(const Ref<NSString>& key) const;

 private:
  NSUserDefaults() = default;
};

}  // namespace zk
