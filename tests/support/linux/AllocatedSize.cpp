#include "support/AllocatedSize.h"

#include <malloc.h>

std::size_t zk::test::allocatedSize(void* memory) { return ::malloc_usable_size(memory); }
