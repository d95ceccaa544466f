// The inputs of a merge.
#pragma once

#include <memory>
#include <vector>

#include "bam/bam.h"

namespace readkit {

/// Open BAM files, each with its current record; handles, so that moving them about moves no file.
using Readers = std::vector<std::unique_ptr<BAM>>;

/// Opens every input and reads its first record.
inline Readers open_readers(const std::vector<UString>& inputs) {
  Readers readers;
  readers.reserve(inputs.size());
  for (const UString& input : inputs) {
    readers.push_back(std::make_unique<BAM>(Path(input)));
    readers.back()->next_alignment();
  }
  return readers;
}

}  // namespace readkit
