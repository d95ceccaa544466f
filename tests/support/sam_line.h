// Lines of SAM text, field by field.
//
//   SamLine line;
//   line.cigar = "5M2I3M";
//   line.text();
#pragma once

#include <string>

namespace readkit {

/// The fields of a sound line without its line's end; a test replaces some.
struct SamLine {
  std::string qname = "r1";
  std::string flag = "0";
  std::string rname = "chr1";
  std::string pos = "100";
  std::string mapq = "60";
  std::string cigar = "10M";
  std::string rnext = "=";
  std::string pnext = "200";
  std::string tlen = "110";
  std::string seq = "ACGTACGTAC";
  std::string qual = "IIIIIIIIII";
  std::string tags = {};  ///< with their leading TAB

  std::string text() const {
    std::string line;
    for (const std::string* field :
         {&qname, &flag, &rname, &pos, &mapq, &cigar, &rnext, &pnext, &tlen, &seq}) {
      line += *field + '\t';
    }
    return line + qual + tags;
  }
};

}  // namespace readkit
