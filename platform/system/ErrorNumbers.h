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

/// An error number of the operating system in the macOS numbering; a number above 105, of no row in the table of POSIX
/// errors, for one that macOS does not have. 0 and negative numbers stay as they are.
int macOSErrorNumber(int systemErrorNumber);

/// The calling thread's errno in the macOS numbering.
int errorNumber();

/// Keeps errno as it was for the length of a scope: for look-ups between a failed call and the reading of its number.
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
