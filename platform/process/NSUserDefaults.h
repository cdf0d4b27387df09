#pragma once

#include "objects/NSNumber.h"
#include "objects/NSString.h"

namespace zk {

/// The settings of this run: the pairs of a key written with a leading hyphen and a value on the command line. Of a key
/// given twice the last wins; a key directly before another key, or last, has the empty text; a hyphen followed by a
/// digit begins a value; a lone "-", "--" and stray words are passed over where they stand behind no key.
class NSUserDefaults {
 public:
  static NSUserDefaults& standardUserDefaults();

  /// The setting as text, or absent.
  Ref<NSString> stringForKey(const Ref<NSString>& key) const;
  /// The setting as a whole number: white space, an optional sign and decimal digits, saturating at 64 bits; else 0.
  std::int64_t integerForKey(const Ref<NSString>& key) const;
  /// The setting as a boolean: true when, after white space, an optional sign and zeros, it goes on with one of Y y T t
  /// 1-9.
  bool boolForKey(const Ref<NSString>& key) const;

 private:
  NSUserDefaults() = default;
};

}  // namespace zk
