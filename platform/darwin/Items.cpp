#include <fcntl.h>

#include "darwin/FolderEntries.h"
#include "system/Port.h"

namespace zk {

int port::flagsToSearch() { return O_SEARCH; }

timespec port::accessTime(const struct stat& status) { return status.st_atimespec; }
timespec port::modificationTime(const struct stat& status) { return status.st_mtimespec; }

SystemError port::readEntries(int folder, std::vector<Entry>& entries) { return darwin::entriesOf(folder, entries); }

}  // namespace zk
