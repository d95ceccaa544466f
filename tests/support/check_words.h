// Short words for what the tests do with checks of files.
//
//   EXPECT_EQ(found(check_bytes(BamBuilder().bytes())), Found{});
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "check/check.h"
#include "support/temp_dir.h"

namespace readkit {

/// Findings as text: "BlockCRC 65536 0", identifier, offset and record.
using Found = std::vector<std::string>;

inline std::string finding(std::string_view identifier, std::uint64_t offset,
                           std::uint64_t record = 0) {
  return std::string(identifier) + ' ' + std::to_string(offset) + ' ' + std::to_string(record);
}
inline Found found(const Findings& findings) {
  Found all;
  for (const Finding& one : findings.list()) {
    all.push_back(finding(finding_identifier(one.kind), one.offset, one.record));
  }
  return all;
}
inline Found found(const CheckResult& result) { return found(result.findings); }

/// Checks a file of these bytes.
inline CheckResult check_bytes(std::string_view bytes) {
  const TempDir folder;
  return check_file(folder.write("a", bytes), nullptr);
}
/// The same with an index of these bytes.
inline CheckResult check_bytes(std::string_view bytes, std::string_view index) {
  const TempDir folder;
  const Path path = folder.write("a.bai", index);
  return check_file(folder.write("a", bytes), &path);
}

}  // namespace readkit
