#include <fcntl.h>

#include "system/Port.h"

namespace zk {

// Names on disk are bytes here, whatever they mean.
std::string port::fileSystemRepresentation(std::string_view text) { return std::string(text); }

int port::flagsToSearch() { return O_PATH; }

timespec port::accessTime(const struct stat& status) { return status.st_atim; }
timespec port::modificationTime(const struct stat& status) { return status.st_mtim; }

mode_t port::typeOf(const struct dirent& entry) { return static_cast<mode_t>(DTTOIF(entry.d_type)); }

}  // namespace zk
