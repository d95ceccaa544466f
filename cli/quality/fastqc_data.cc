#include "cli/quality/fastqc_data.h"

#include <initializer_list>

namespace readkit::cli {
namespace {

using Json = nlohmann::ordered_json;

// Names go into a field of a line.
std::string field(const Json& value) {
  std::string text = value.is_string() ? value.get<std::string>() : value.dump();
  for (char& c : text) c = c == '\t' || c == '\n' || c == '\r' ? ' ' : c;
  return text;
}

std::string line(std::initializer_list<Json> values) {
  std::string text;
  for (const Json& value : values) text += (text.empty() ? "" : "\t") + field(value);
  return text + "\n";
}

// The worst status of these verdicts; of none, "pass".
std::string status_of(const Json& sample, std::initializer_list<const char*> names) {
  std::string worst = "pass";
  for (const Json& verdict : sample["verdicts"]) {
    for (const char* name : names) {
      if (verdict["name"] != name || verdict["status"] == "pass") continue;
      if (worst != "fail") worst = verdict["status"].get<std::string>();
    }
  }
  return worst;
}

std::string module(const std::string& name, const std::string& status, const std::string& rows) {
  return ">>" + name + "\t" + status + "\n" + rows + ">>END_MODULE\n";
}

std::string range(const Json& element) {
  return element["from"] == element["to"] ? element["from"].dump()
                                          : element["from"].dump() + "-" + element["to"].dump();
}

const char* file_type(const Json& kind) {
  return kind == "fastq" ? "Conventional base calls" : "Aligned reads";
}

std::string basic_statistics(const Json& sample) {
  const bool phred64 = sample["encoding"]["name"] == "phred+64";
  return module(
      "Basic Statistics", "pass",
      line({"#Measure", "Value"}) + line({"Filename", sample["name"]}) +
          line({"File type", file_type(sample["kind"])}) +
          line({"Encoding", phred64 ? "Illumina 1.5" : "Sanger / Illumina 1.9"}) +
          line({"Total Sequences", sample["reads"]}) + line({"Total Bases", sample["bases"]}) +
          line({"Sequences flagged as poor quality", 0}) +
          line({"Sequence length",
                range({{"from", sample["length"]["min"]}, {"to", sample["length"]["max"]}})}) +
          line({"%GC", sample["gc_percent"]}));
}

std::string position_quality(const Json& sample) {
  std::string rows = line({"#Base", "Mean", "Median", "Lower Quartile", "Upper Quartile",
                           "10th Percentile", "90th Percentile"});
  for (const Json& p : sample["positions"]) {
    rows += line({range(p), p["mean"], p["p50"], p["p25"], p["p75"], p["p10"], p["p90"]});
  }
  return module("Per base sequence quality",
                status_of(sample, {"position_median", "position_lower_quartile"}), rows);
}

std::string read_quality(const Json& sample) {
  std::string rows = line({"#Quality", "Count"});
  for (const Json& bin : sample["read_quality"]) rows += line({bin["quality"], bin["reads"]});
  return module("Per sequence quality scores", status_of(sample, {"read_quality"}), rows);
}

// In percent of A, C, G and T.
std::string composition(const Json& sample) {
  std::string rows = line({"#Base", "G", "A", "T", "C"});
  for (const Json& p : sample["positions"]) {
    const Json& bases = p["bases"];
    double all = 0;
    for (const char* letter : {"A", "C", "G", "T"}) all += bases[letter].get<double>();
    const auto percent = [&](const char* letter) {
      return all == 0 ? 0 : 100 * bases[letter].get<double>() / all;
    };
    rows += line({range(p), percent("G"), percent("A"), percent("T"), percent("C")});
  }
  return module("Per base sequence content", status_of(sample, {"base_balance"}), rows);
}

// Every bin at its middle.
std::string gc_content(const Json& sample) {
  std::string rows = line({"#GC Content", "Count"});
  for (const Json& bin : sample["gc"]) {
    const double middle = (bin["from"].get<double>() + bin["to"].get<double>()) / 2;
    rows += line({middle, bin["reads"]});
  }
  return module("Per sequence GC content", status_of(sample, {"gc_shape"}), rows);
}

std::string other_letters(const Json& sample) {
  std::string rows = line({"#Base", "N-Count"});
  for (const Json& p : sample["positions"]) {
    double all = 0;
    for (const Json& count : p["bases"]) all += count.get<double>();
    rows += line({range(p), 100 * p["bases"]["other"].get<double>() / all});
  }
  return module("Per base N content", status_of(sample, {"other_letters"}), rows);
}

std::string lengths(const Json& sample) {
  std::string rows = line({"#Length", "Count"});
  for (const Json& bin : sample["length"]["histogram"]) {
    rows += line({range(bin), bin["reads"]});
  }
  return module("Sequence Length Distribution", "pass", rows);
}

}  // namespace

std::string fastqc_data(const Json& sample, const std::string& version) {
  return "##FastQC\treadkit " + version + "\n" + basic_statistics(sample) +
         position_quality(sample) + read_quality(sample) + composition(sample) +
         gc_content(sample) + other_letters(sample) + lengths(sample);
}

}  // namespace readkit::cli
