#include <cerrno>

#include "system/Port.h"

namespace zk {

namespace {

/// Added to a number that has no macOS counterpart, so that no row of the table has it.
constexpr int kNoCounterpart = 1000;

}  // namespace

int port::macOSErrorNumber(int systemErrorNumber) {
  // One row on each line:
  // clang-format off
  switch (systemErrorNumber) {
    case 0: return 0;
    case EPERM: return 1;
    case ENOENT: return 2;
    case ESRCH: return 3;
    case EINTR: return 4;
    case EIO: return 5;
    case ENXIO: return 6;
    case E2BIG: return 7;
    case ENOEXEC: return 8;
    case EBADF: return 9;
    case ECHILD: return 10;
    case EDEADLK: return 11;
    case ENOMEM: return 12;
    case EACCES: return 13;
    case EFAULT: return 14;
    case ENOTBLK: return 15;
    case EBUSY: return 16;
    case EEXIST: return 17;
    case EXDEV: return 18;
    case ENODEV: return 19;
    case ENOTDIR: return 20;
    case EISDIR: return 21;
    case EINVAL: return 22;
    case ENFILE: return 23;
    case EMFILE: return 24;
    case ENOTTY: return 25;
    case ETXTBSY: return 26;
    case EFBIG: return 27;
    case ENOSPC: return 28;
    case ESPIPE: return 29;
    case EROFS: return 30;
    case EMLINK: return 31;
    case EPIPE: return 32;
    case EDOM: return 33;
    case ERANGE: return 34;
    case EAGAIN: return 35;
    case EINPROGRESS: return 36;
    case EALREADY: return 37;
    case ENOTSOCK: return 38;
    case EDESTADDRREQ: return 39;
    case EMSGSIZE: return 40;
    case EPROTOTYPE: return 41;
    case ENOPROTOOPT: return 42;
    case EPROTONOSUPPORT: return 43;
    case ESOCKTNOSUPPORT: return 44;
    // On Linux one number has both names, ENOTSUP and EOPNOTSUPP; macOS gives 45 to the first.
    case ENOTSUP: return 45;
    case EPFNOSUPPORT: return 46;
    case EAFNOSUPPORT: return 47;
    case EADDRINUSE: return 48;
    case EADDRNOTAVAIL: return 49;
    case ENETDOWN: return 50;
    case ENETUNREACH: return 51;
    case ENETRESET: return 52;
    case ECONNABORTED: return 53;
    case ECONNRESET: return 54;
    case ENOBUFS: return 55;
    case EISCONN: return 56;
    case ENOTCONN: return 57;
    case ESHUTDOWN: return 58;
    case ETOOMANYREFS: return 59;
    case ETIMEDOUT: return 60;
    case ECONNREFUSED: return 61;
    case ELOOP: return 62;
    case ENAMETOOLONG: return 63;
    case EHOSTDOWN: return 64;
    case EHOSTUNREACH: return 65;
    case ENOTEMPTY: return 66;
    case EUSERS: return 68;
    case EDQUOT: return 69;
    case ESTALE: return 70;
    case EREMOTE: return 71;
    case ENOLCK: return 77;
    case ENOSYS: return 78;
    case EOVERFLOW: return 84;
    case ECANCELED: return 89;
    case EIDRM: return 90;
    case ENOMSG: return 91;
    case EILSEQ: return 92;
    case EBADMSG: return 94;
    case EMULTIHOP: return 95;
    case ENODATA: return 96;
    case ENOLINK: return 97;
    case ENOSR: return 98;
    case ENOSTR: return 99;
    case EPROTO: return 100;
    case ETIME: return 101;
    case ENOTRECOVERABLE: return 104;
    case EOWNERDEAD: return 105;
    default: return systemErrorNumber > 0 ? kNoCounterpart + systemErrorNumber : systemErrorNumber;
  }
  // clang-format on
}

}  // namespace zk
