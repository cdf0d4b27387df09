#include "posix/Folder.h"

#include <fcntl.h>

namespace zk {

const int kSearchOnly = O_PATH;

}  // namespace zk
