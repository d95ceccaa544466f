#include "support/random_bam.h"

#include <cstdint>
#include <string>

#include "support/bgzf_builder.h"
#include "support/record_builder.h"

namespace readkit {

BamBuilder random_bam(Random& random, std::size_t bulk) {
  BamBuilder file;
  file.refs(3, 536870911).block_size(static_cast<std::size_t>(random_number(random, 60, 4000)));
  if (bulk > 0) file.block_size(60000);
  // Large files are to have records in many windows.
  const std::int64_t step = std::int64_t{1} << random_number(random, bulk > 0 ? 14 : 3, 19);
  int name = 0;
  for (int ref = 0; ref < 3; ++ref) {
    std::int64_t pos = random_number(random, 0, 40000);
    for (auto left = random_number(random, 0, 25); left > 0; --left) {
      const auto bases = static_cast<std::size_t>(random_number(random, 0, 40));
      RecordBuilder record(std::to_string(name++));
      record.at(ref, static_cast<int>(pos)).seq(std::string(bases, 'C'));
      if (random() % 8 == 0) {
        record.flag(4);
      } else if (bases > 0) {
        record.cigar(std::to_string(bases) + "M");
        if (random() % 4 == 0) {
          record.cigar_op(static_cast<std::uint32_t>(random_number(random, 1, 200000)), 3);
        }
      }
      if (bulk > 0) {
        record.tag_bytes("XBBC" + little_endian(bulk, 4) + random_bytes(random, bulk));
      }
      file.record(record);
      if (random() % 3 != 0) pos += random_number(random, 0, step);
    }
  }
  for (auto left = random_number(random, 0, 3); left > 0; --left) {
    file.record(RecordBuilder(std::to_string(name++)).flag(4).seq("AC"));
  }
  return file;
}

}  // namespace readkit
