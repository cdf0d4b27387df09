#pragma once

#include <clocale>
#include <locale>  // On macOS this declares locale_t and its functions.

namespace zk {

/// A scope in which the C library reads and prints reals with a decimal point in the calling thread, even if the host
/// has called setlocale() for a language with a decimal comma.
class InCLocale {
 public:
  InCLocale() : previous_(::uselocale(cLocale())) {}
  ~InCLocale() { ::uselocale(previous_); }
  InCLocale(const InCLocale&) = delete;
  InCLocale& operator=(const InCLocale&) = delete;

 private:
  /// Made once; it stays until the process ends.
  static locale_t cLocale() {
    static const locale_t locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
  }

  locale_t previous_;
};

}  // namespace zk
