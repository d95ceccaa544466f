// Where the lines that the library writes of a BAM file's records are others than those of
// `samtools view`, by rule.
#pragma once

#include <string>

#include <gtest/gtest.h>

namespace readkit {

/// Whether two lines tell the same record, the first one being samtools', but for the rules.
testing::AssertionResult is_same_record(const std::string& theirs, const std::string& ours);

}  // namespace readkit
