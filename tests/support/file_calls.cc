#include "support/file_calls.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <numeric>
#include <sstream>
#include <utility>

#include "support/index_model.h"

namespace readkit {
namespace {

host::Owned number(double value) { return host::make_scalar(value); }

host::Owned all_features() {
  return host::make_cell_of_texts({"Flag", "Position", "MappingQuality", "MatePosition",
                                   "MateIndex", "QueryLength", "EndPosition", "Signature",
                                   "Sequence", "Header", "Quality"});
}

std::string listed(const std::vector<double>& numbers) {
  std::string text;
  for (const double one : numbers) {
    text += (text.empty() ? "" : ",") + std::to_string(static_cast<std::int64_t>(one));
  }
  return text;
}

std::string nothing(const Outputs& /*out*/) { return {}; }
std::string first_numbers(const Outputs& out) { return listed(host::numbers_of(out.at(0).get())); }
std::string first_text(const Outputs& out) { return host::text_of(out.at(0).get()); }
template <std::size_t place>
std::string rows(const Outputs& out) {
  return std::to_string(txGetNumberOfElements(out.at(place).get()));
}
// "sorted" or "unsorted", and the counts.
std::string order_and_counts(const Outputs& out) {
  const std::string counts = listed(host::numbers_of(out.at(1).get()));
  const std::string order = host::data_of<bool>(out.at(0).get())[0] ? "sorted" : "unsorted";
  return counts.empty() ? order : order + ' ' + counts;
}
std::string positions(const Outputs& out) { return listed(host::numbers_of(out.at(1).get())); }
std::string reads(const Outputs& out) { return listed(host::numbers_of(out.at(4).get())); }

// The identifiers of a check's findings, each once, in the order in which they come first.
std::string findings(const Outputs& out) {
  const txArray* const columns = host::field_of(out.at(0).get(), "findings");
  std::vector<std::string> all;
  for (const std::string& one : host::texts_of(host::field_of(columns, "identifier"))) {
    if (std::find(all.begin(), all.end(), one) == all.end()) all.push_back(one);
  }
  std::string text;
  for (const std::string& one : all) text += (text.empty() ? "" : " ") + one;
  return text.empty() ? "none" : text;
}

GatewayCall gateway(const char* function, int nlhs, std::function<Inputs()> list) {
  return {function, nlhs, std::move(list)};
}

std::string run(const FileCall& call, bool with_digest) {
  const LeakCheck leaks;
  try {
    const Outputs out = call.run();
    const std::string digest = with_digest && call.digest ? call.digest(out) : std::string();
    if (with_digest && call.name.starts_with("kxCheck")) return digest;
    return digest.empty() ? kOk : std::string(kOk) + ' ' + digest;
  } catch (const host::HostError& error) {
    return error.identifier();
  }
}

}  // namespace

std::string outcome_of(const FileCall& call) { return run(call, false); }
std::string result_of(const FileCall& call) { return run(call, true); }

FileCalls::FileCalls() {
  folder_.write("none.bai", encode_bai({.refs = std::vector<ModelReference>(77)}));
}

void FileCalls::write(std::string_view name, std::string_view bytes) const {
  std::filesystem::remove(folder_.native(name));
  folder_.write(name, bytes);
}

// The name of a file to be made.
host::Owned FileCalls::output(std::string_view name) const {
  std::filesystem::remove(folder_.native(name));  // quicker than to empty it
  return text(folder_, name);
}

std::function<std::string(const Outputs&)> FileCalls::records_in(const std::string& name) const {
  return [=, this](const Outputs& /*out*/) {
    const Outputs checked = call_gateway("kxCheck", 1, inputs(text(folder_, name)));
    return listed(host::numbers_of(host::field_of(checked.at(0).get(), "records")));
  };
}

std::function<std::string(const Outputs&)> FileCalls::lines_in(const std::string& name,
                                                               int each) const {
  return [=, this](const Outputs& /*out*/) {
    std::istringstream lines(folder_.read(name));
    std::int64_t count = 0;
    // Of a sorted SAM file the header does not count, which is an empty line where there is none.
    for (std::string line; std::getline(lines, line);) {
      count += each == 1 && (line.empty() || line.starts_with('@')) ? 0 : 1;
    }
    return std::to_string(count / each);
  };
}

FileCall FileCalls::scan(int type, const std::string& file) const {
  return {"scanQualities",
          gateway("scanQualities", 6,
                  [=, this] {
                    return inputs(number(type), text(folder_, file), number(0), number(93),
                                  number(33), number(-1), number(-1), number(0), number(-1),
                                  host::make_row<double>({}), number(-1), number(0), number(-1),
                                  host::make_scalar(true));
                  }),
          reads};
}

FileCall FileCalls::check(const std::string& name, const std::vector<std::string>& files) const {
  return {name,
          gateway("kxCheck", 1,
                  [=, this] {
                    Inputs list;
                    for (const std::string& file : files) {
                      list.push_back(text(folder_, file));
                    }
                    return list;
                  }),
          findings};
}

FileCall FileCalls::fields(const std::string& name, const std::string& index,
                           const std::vector<double>& firsts, const std::vector<double>& lasts,
                           std::function<std::string(const Outputs&)> digest) const {
  return {name,
          gateway("kxFields", 12,
                  [=, this] {
                    return inputs(
                        text(folder_, "a.bam"), text(folder_, index),
                        host::make_cell_of_texts({"Flag", "Position", "EndPosition",
                                                  "MappingQuality", "MatePosition", "QueryLength",
                                                  "Header", "Signature", "Sequence", "Quality"}),
                        host::make_column(std::vector<double>(firsts.size())),
                        host::make_column(firsts), host::make_column(lasts));
                  }),
          std::move(digest)};
}

std::vector<FileCall> FileCalls::region_calls(const std::string& index_base) const {
  // The index is read as a whole for this many regions, in parts for two.
  std::vector<double> positions_1_to_20(20);
  std::iota(positions_1_to_20.begin(), positions_1_to_20.end(), 1);
  const auto bam = [this] { return text(folder_, "a.bam"); };
  const auto index = [=, this] { return text(folder_, index_base + ".bai"); };
  return {
      {"getStartsInReference",
       gateway("getStartsInReference", 3, [=] { return inputs(bam(), index(), number(0)); }),
       rows<0>},
      {"getFeatures",
       gateway("getFeatures", 11,
               [=] {
                 return inputs(bam(), index(), all_features(), number(0),
                               host::make_column<std::uint32_t>({1, 2}),
                               host::make_column<std::uint32_t>({9, 19}));
               }),
       positions},
      fields("kxFields", index_base + ".bai", {1, 1}, {1000, 13}, first_numbers),
      fields("kxFields_of_20", index_base + ".bai", positions_1_to_20, positions_1_to_20, rows<2>),
      {"kxSamWriteRegions",
       gateway("kxSamWriteRegions", 0,
               [=, this] {
                 return inputs(bam(), index(), output("out.sam"), host::make_column<double>({0, 0}),
                               host::make_column<double>({1, 1}),
                               host::make_column<double>({1000, 13}), host::make_scalar(true));
               }),
       lines_in("out.sam", 1)},
      {"samWrite",
       gateway("samWrite", 0,
               [=, this] {
                 return inputs(bam(), text(folder_, index_base), output("out.sam"),
                               text("chr1:1-1000"), host::make_scalar(true),
                               host::make_scalar(false));
               }),
       lines_in("out.sam", 1)}};
}

std::vector<FileCall> FileCalls::conversions(const std::string& file,
                                             const std::string& format) const {
  const auto to = [=, this](const char* out_format) {
    return gateway("convertFormat", 0, [=, this] {
      return inputs(text(folder_, file), text(format), output("out"), text(out_format),
                    host::make_row<std::uint32_t>({}));
    });
  };
  return {{"to_bam", to("bam"), records_in("out")},
          {"to_sam", to("sam"), lines_in("out", 1)},
          {"to_fastq", to("fastq"), lines_in("out", 4)},
          {"to_fasta", to("fasta"), lines_in("out", 2)}};
}

std::vector<FileCall> FileCalls::on_bam() const {
  const auto bam = [this] { return text(folder_, "a.bam"); };
  const auto simple = [=](const char* name, int nlhs) {
    return gateway(name, nlhs, [=] { return inputs(bam()); });
  };
  const auto with_text = [=, this](const char* name, const char* file) {
    return gateway(name, 0, [=, this] { return inputs(bam(), output(file)); });
  };
  // A sort or shuffle, into "sorted.bam".
  const auto ordered = [=, this](const char* name, bool is_seeded) {
    return gateway(name, 0, [=, this] {
      output("sorted.bam");
      Inputs list = inputs(bam(), text(folder_, "sorted"));
      if (is_seeded) list.push_back(number(7));
      return list;
    });
  };
  std::vector<FileCall> calls = {
      {"getNumReferences", simple("getNumReferences", 1), first_numbers},
      {"getReferenceID", gateway("getReferenceID", 1, [=] { return inputs(bam(), text("chr1")); }),
       first_numbers},
      {"getReferenceString",
       gateway("getReferenceString", 1, [=] { return inputs(bam(), number(1)); }), first_text},
      {"getHeader", simple("getHeader", 3), rows<1>},
      {"bamInfo", simple("bamInfo", 2), order_and_counts},
      {"bamIndex", with_text("bamIndex", "new.bai"), nothing},
      {"kxBamIndexComplete", with_text("kxBamIndexComplete", "new.bai"), nothing},
      {"getFeatureCountData",
       gateway("getFeatureCountData", 9,
               [=] {
                 return inputs(bam(), number(1), host::make_scalar(false), host::make_scalar(false),
                               number(0));
               }),
       rows<0>},
      {"samWriteUnaligned",
       gateway("samWriteUnaligned", 0,
               [=, this] { return inputs(bam(), output("out.sam"), host::make_scalar(true)); }),
       lines_in("out.sam", 1)},
      {"to_bam_of_chr1",
       gateway("convertFormat", 0,
               [=, this] {
                 return inputs(bam(), text("bam"), output("out"), text("bam"),
                               host::make_row<std::uint32_t>({1, 2}), text("chr1"));
               }),
       records_in("out")},
      {"bamSort", ordered("bamSort", false), records_in("sorted.bam")},
      {"kxBamShuffleSeeded", ordered("kxBamShuffleSeeded", true), records_in("sorted.bam")},
      scan(3, "a.bam"),
  };
  for (FileCall& call : region_calls("none")) calls.push_back(std::move(call));
  for (FileCall& call : conversions("a.bam", "bam")) calls.push_back(std::move(call));
  calls.push_back(check("kxCheck", {"a.bam"}));
  return calls;
}

std::vector<FileCall> FileCalls::on_index() const {
  std::vector<FileCall> calls = region_calls("a");
  calls.push_back(check("kxCheck_alone", {"a.bai"}));
  calls.push_back(check("kxCheck", {"a.bam", "a.bai"}));
  return calls;
}

std::vector<FileCall> FileCalls::on_sam() const {
  const auto sam = [this] { return text(folder_, "a.sam"); };
  std::vector<FileCall> calls = {
      {"samInfo", gateway("samInfo", 3, [=] { return inputs(sam()); }), order_and_counts},
      {"samSort",
       gateway("samSort", 0,
               [=, this] {
                 output("sorted.sam");
                 return inputs(sam(), text(folder_, "sorted"));
               }),
       lines_in("sorted.sam", 1)},
      {"samToBam", gateway("samToBam", 0, [=, this] { return inputs(sam(), output("out")); }),
       records_in("out")},
  };
  for (FileCall& call : conversions("a.sam", "sam")) calls.push_back(std::move(call));
  calls.push_back(scan(2, "a.sam"));
  calls.push_back(check("kxCheck", {"a.sam"}));
  return calls;
}

std::vector<FileCall> FileCalls::on_fastq() const {
  return {scan(1, "a.fastq"), check("kxCheck", {"a.fastq"})};
}

}  // namespace readkit
