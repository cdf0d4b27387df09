#include "objects/NSString.h"

namespace zk {

// Names on disk are bytes here, whatever they mean: they go through as they stand.
std::string NSString::fileSystemRepresentation() const { return bytes_; }

}  // namespace zk
