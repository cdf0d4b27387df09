#pragma once

namespace zk {

/// POSIX error numbers in the macOS numbering, whatever the operating system's own are. With a prefix, since the bare
/// names are macros.
inline constexpr int ZKENOENT = 2;
inline constexpr int ZKEINTR = 4;
inline constexpr int ZKEDEADLK = 11;
inline constexpr int ZKEACCES = 13;
inline constexpr int ZKEEXIST = 17;
inline constexpr int ZKEINVAL = 22;
inline constexpr int ZKENFILE = 23;
inline constexpr int ZKEMFILE = 24;
inline constexpr int ZKENOSPC = 28;
inline constexpr int ZKEAGAIN = 35;
inline constexpr int ZKENAMETOOLONG = 63;
inline constexpr int ZKECANCELED = 89;

/// Translates an error number of the operating system into the macOS numbering. A number that macOS does not have
/// becomes one above 105, which has no row in the table of POSIX errors. 0 and negative numbers stay as they are.
int macOSErrorNumber(int systemErrorNumber);

/// The calling thread's errno in the macOS numbering.
int errorNumber();

/// Restores errno at the end of a scope. For look-ups between a failed call and the reading of its error number.
class ErrorNumberKeeper {
 public:
  ErrorNumberKeeper();
  ~ErrorNumberKeeper();
  ErrorNumberKeeper(const ErrorNumberKeeper&) = delete;
  ErrorNumberKeeper& operator=(const ErrorNumberKeeper&) = delete;

 private:
  int saved_;
};

}  // namespace zk
