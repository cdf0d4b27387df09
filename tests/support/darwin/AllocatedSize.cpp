#include "support/AllocatedSize.h"

#include <malloc/malloc.h>

std::size_t zk::test::allocatedSize(void* memory) { return ::malloc_size(memory); }
