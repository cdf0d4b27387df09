#pragma once

#include "ZKPOSIXSemaphore.h"
#include "objects/OutOfMemory.h"

namespace zk::c {

inline constexpr int kNoError = 0;
inline constexpr int kOutOfMemory = 12;  ///< macOS's number

/// The error number of a call: what `step` answers, or "out of memory".
template <class Step>
int errorNumberOf(const Step& step) noexcept {
  int number = kOutOfMemory;
  unlessOutOfMemory([&] { number = step(); });
  return number;
}

inline Ref<NSString> textOf(const char* text) { return NSString::stringWithUTF8String(text); }

/// Hands an object over to the caller of a C function, in a handle of its own.
template <class Handle, class Object>
int handOver(Ref<Object> object, Handle** place) {
  *place = new Handle{std::move(object)};
  return kNoError;
}

}  // namespace zk::c
