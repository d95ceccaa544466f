// The file of the tests of functions that give fields of records.
#pragma once

#include "support/bam_builder.h"

namespace readkit {

/// A record on reference 0, "other", and three on reference 1, which differ in every field:
/// "first", "second" and "third", at 99, 100 and 200.
inline BamBuilder feature_file() {
  return BamBuilder()
      .refs(2, 100000)
      .record(RecordBuilder("other").at(0, 9).cigar("5M").seq("AAAAA"))
      .record(RecordBuilder("first")
                  .at(1, 99)
                  .flag(0x63)
                  .mapq(60)
                  .mate(0, 499)
                  .cigar("2S3M1D2M10N1M1I")
                  .seq("ACGTNACGT")
                  .qual("!\"#$%&'()"))
      .record(RecordBuilder("second").at(1, 100).flag(0x4).mapq(255).mate(1, -1))
      .record(RecordBuilder("third")
                  .at(1, 200)
                  .flag(0xffff)
                  .mate(-1, 2147483647)
                  .cigar("4=1X")
                  .seq("=ACMG"));
}

}  // namespace readkit
