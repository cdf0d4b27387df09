#pragma once

#include <sys/types.h>

namespace zk {

/// Copies the contents of the open file `source`, whose status tells of `size` bytes, into the new, empty one
/// `destination`. Blocks are shared where the file system can do that, holes stay holes. Of a file that changes
/// meanwhile, what was read is copied.
/// @return 0 or an error number
int copyContents(int source, int destination, off_t size);

}  // namespace zk
