#pragma once

#include <string>
#include <vector>

namespace zk::test {

struct HostileDocument {
  std::string name;
  std::string bytes;
};

/// Documents of about `size` bytes that ask for as much memory for each byte as their form allows:
/// very many very small objects, empty containers, keys, shared references.
std::vector<HostileDocument> hungryDocuments(std::size_t size);

/// Documents of about `size` bytes that ask for much more time or memory than their size where a
/// reader goes over anything twice: contents that never end, containers that claim the same contents, objects that are
/// all in one place, keys that are long to compare, references that double at every level.
std::vector<HostileDocument> slowDocuments(std::size_t size);

/// Arrays in the binary form of which each holds the next one twice; `levels` of them, around one empty array.
std::string doublingArrays(std::size_t levels);

}  // namespace zk::test
