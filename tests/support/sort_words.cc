#include "support/sort_words.h"

#include <algorithm>

namespace readkit {
namespace {

constexpr int kReferences = 3;
constexpr int kReferenceLength = 100000;

RecordBuilder random_read(Random& random, const std::string& name) {
  const auto ref = static_cast<int>(random_number(random, -1, kReferences - 1));
  const auto pos = static_cast<int>(random_number(random, -1, 8));
  return RecordBuilder(name).at(ref, pos);
}

}  // namespace

Reads random_reads(Random& random, int count, const std::string& prefix) {
  Reads reads;
  for (int i = 0; i < count; ++i) {
    reads.push_back(random_read(random, prefix + std::to_string(i)).seq("ACGT").tag("NH", 'C', 1));
  }
  return reads;
}

Reads bulky_reads(Random& random, int count, std::size_t qualities) {
  Reads reads;
  for (int i = 0; i < count; ++i) {
    std::string text = random_bytes(random, qualities);
    for (char& letter : text)
      letter = static_cast<char>('!' + static_cast<unsigned char>(letter) % 94);
    reads.push_back(
        random_read(random, "r" + std::to_string(i)).seq(std::string(qualities, 'A')).qual(text));
  }
  return reads;
}

std::string header_text() {
  std::string text = "@HD\tVN:1.6\n";
  for (int i = 1; i <= kReferences; ++i) {
    text += "@SQ\tSN:chr" + std::to_string(i) + "\tLN:" + std::to_string(kReferenceLength) + '\n';
  }
  return text;
}

BamBuilder bam_of(const Reads& reads) {
  BamBuilder file;
  file.text(header_text()).refs(kReferences, kReferenceLength);
  for (const RecordBuilder& read : reads) file.record(read);
  return file;
}

std::string sam_of(const Reads& reads) {
  std::string text = header_text();
  const DecodedBam bam = decode_bam(bam_of(reads).bytes());
  for (const DecodedRecord& record : bam.records) text += decoded_line(record, bam) + '\n';
  return text;
}

std::vector<DecodedRecord> records_in(const TempDir& folder, std::string_view name) {
  return decode_bam(folder.read(name)).records;
}

Names names_of(const std::vector<DecodedRecord>& records) {
  Names names;
  for (const DecodedRecord& record : records) names.push_back(record.name);
  return names;
}

Names names_in(const TempDir& folder, std::string_view name) {
  return names_of(records_in(folder, name));
}

std::vector<std::string> same_records(const std::vector<DecodedRecord>& records) {
  std::vector<std::string> bytes;
  for (const DecodedRecord& record : records) bytes.push_back(record.bytes);
  std::sort(bytes.begin(), bytes.end());
  return bytes;
}

bool goes_before(const DecodedRecord& a, const DecodedRecord& b) {
  if ((a.ref_id < 0) != (b.ref_id < 0)) return b.ref_id < 0;
  if (a.ref_id != b.ref_id) return a.ref_id < b.ref_id;
  return a.pos < b.pos;
}

bool is_in_order(const std::vector<DecodedRecord>& records) {
  for (std::size_t i = 1; i < records.size(); ++i) {
    if (goes_before(records[i], records[i - 1])) return false;
  }
  return true;
}

std::vector<DecodedRecord> in_order(std::vector<DecodedRecord> records) {
  std::stable_sort(records.begin(), records.end(), goes_before);
  return records;
}

}  // namespace readkit
