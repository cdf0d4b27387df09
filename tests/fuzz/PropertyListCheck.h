#pragma once

#include "fuzz/Fuzzing.h"
#include "plist/BinaryReader.h"
#include "plist/BinaryWriter.h"

namespace zk::fuzz {

/// What was read can be written, and what was written reads as the same: written again, it gives the same bytes.
/// (Comparing the objects themselves would go through shared ones again and again.)
inline void requireWritable(const Ref<NSObject>& propertyList) {
  if (!propertyList) return;
  const auto written = writeBinaryPropertyList(propertyList);
  require(written.has_value());
  const Ref<NSObject> back = readBinaryPropertyList(*written);
  require(back != nullptr);
  require(writeBinaryPropertyList(back) == written);
}

}  // namespace zk::fuzz
