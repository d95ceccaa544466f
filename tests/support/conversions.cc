#include "support/conversions.h"

#include "support/reference_decoder.h"
#include "support/sam_model.h"

namespace readkit {
namespace {

// Every `step`-th line from the first on, less its mark.
Names names_of_lines(const std::vector<std::string>& lines, std::size_t step) {
  Names names;
  for (std::size_t i = 0; i < lines.size(); i += step) names.push_back(lines[i].substr(1));
  return names;
}

}  // namespace

std::vector<Conversion> conversions() {
  std::vector<Conversion> all;
  for (const std::string from : {"bam", "sam"}) {
    for (const std::string to : {"bam", "sam", "fastq", "fasta"}) all.push_back({from, to});
  }
  return all;
}

std::string name_of(const Conversion& conversion) {
  return conversion.from + "_to_" + conversion.to;
}

void PrintTo(const Conversion& conversion, std::ostream* out) { *out << name_of(conversion); }

Names written_names(const TempDir& folder, const std::string& name) {
  if (name.ends_with(".bam")) return names_in(folder, name);
  const std::vector<std::string> lines = model_lines(folder.read(name));
  if (name.ends_with(".fastq")) return names_of_lines(lines, 4);
  if (name.ends_with(".fasta")) return names_of_lines(lines, 2);
  Names names;
  for (const std::string& line : lines) {
    if (!line.starts_with('@')) names.push_back(line.substr(0, line.find('\t')));
  }
  return names;
}

std::string fastq_of(const std::vector<DecodedRecord>& records) {
  std::string text;
  for (const DecodedRecord& record : records) {
    text += '@' + record.name + '\n' + record.seq + "\n+\n" + record.qual + '\n';
  }
  return text;
}

std::string fasta_of(const std::vector<DecodedRecord>& records) {
  std::string text;
  for (const DecodedRecord& record : records) {
    text += '>' + record.name + '\n' + record.seq + '\n';
  }
  return text;
}

std::string sam_lines_of(const DecodedBam& bam) {
  std::string text;
  for (const DecodedRecord& record : bam.records) text += decoded_line(record, bam) + '\n';
  return text;
}

}  // namespace readkit
