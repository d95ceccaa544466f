// The JSON arguments of `readkit call`: read, printed as outputs are, read again; and a gateway
// function called with them, whatever they are.
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "cli/call/arguments.h"
#include "cli/call/results.h"
#include "cli/terminal/output.h"
#include "cli/terminal/usage_error.h"
#include "fuzz/support/blocks.h"
#include "fuzz/support/calls.h"
#include "fuzz/support/samples.h"
#include "fuzz/support/scratch.h"
#include "fuzz/support/target.h"
#include "gateway/gateways.h"
#include "support/index_model.h"

namespace readkit::fuzz {
namespace {

struct Called {
  const char* name;
  txGateway gateway;
  int nlhs;
};

// Only added to at its end: inputs choose by number. Settings of scanQualities may ask for tables
// of any size, so that is not among them.
constexpr Called kCalled[] = {
    {"getNumReferences", getNumReferences, 1},
    {"getReferenceID", getReferenceID, 1},
    {"getReferenceString", getReferenceString, 1},
    {"getHeader", getHeader, 3},
    {"bamInfo", bamInfo, 2},
    {"getStartsInReference", getStartsInReference, 3},
    {"getFeatures", getFeatures, 11},
    {"getFeatureCountData", getFeatureCountData, 9},
    {"samInfo", samInfo, 3},
    {"convertFormat", convertFormat, 0},
    {"samWrite", samWrite, 0},
    {"bamIndex", bamIndex, 0},
    {"kxFields", kxFields, 16},
};

// The process's folder as the working folder, in which the fuzzer's own files are not.
class InScratch {
 public:
  InScratch() : before_(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (before_ < 0 || chdir(scratch().folder().c_str()) != 0) {
      throw std::runtime_error("cannot go to " + scratch().folder());
    }
  }
  ~InScratch() {
    static_cast<void>(!fchdir(before_));
    close(before_);
  }
  InScratch(const InScratch&) = delete;
  InScratch& operator=(const InScratch&) = delete;

 private:
  int before_;
};

std::string printed(const std::vector<host::Owned>& arrays) {
  const std::string name = fresh_file("printed");
  const int fd = open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  cli::Output out(fd);
  cli::write_outputs(out, arrays);
  out.finish();
  close(fd);
  std::string text = read_file(name);
  return text.substr(text.find('['), text.rfind(']') + 1 - text.find('['));
}

// The files that arguments may name, and no others.
void prepare_files() {
  static const std::string bam = stored_bgzf(sample_bam().content());
  static const std::string bai = encode_bai(model_index_of(bam).index);
  for (const std::string& name : scratch().names()) fresh_file(name);
  file_with("a.bam", bam);
  file_with("a.bai", bai);
  file_with("a.sam", sam_files()[0]);
}

void run(Input input) {
  const Called& called = kCalled[input.byte() % std::size(kCalled)];
  std::vector<host::Owned> arguments;
  try {
    arguments = cli::arguments_from_json(std::string(input.rest()));
  } catch (const cli::UsageError&) {
    return;
  }
  const std::string text = printed(arguments);
  const std::string again = printed(cli::arguments_from_json(text));
  require(again == text, "arguments change when they are printed and read");
  // A call writes only where its arguments say, so none of them may lead out of the folder.
  if (text.find('/') != std::string::npos) return;
  prepare_files();
  const InScratch folder;
  call(called.name, called.gateway, called.nlhs, arguments, Hostile::kArguments);
}

std::vector<std::string> seeds() {
  return {std::string(1, '\0') + R"(["a.bam"])",
          "\1"
          R"(["a.bam", "chr2"])",
          "\2"
          R"(["a.bam", 1])",
          "\3"
          R"(["a.bam"])",
          "\4"
          R"(["a.bam"])",
          "\5"
          R"(["a.bam", "a.bai", 0])",
          "\6"
          R"(["a.bam", "a.bai", ["Flag", "Sequence"], 0, {"class": "uint32", "data": [1, 2]},
              {"class": "uint32", "data": [9, 9, 19]}])",
          "\7"
          R"(["a.bam", 1, true, false, 0])",
          "\10"
          R"(["a.sam"])",
          "\11"
          R"(["a.bam", "bam", "out", "sam", {"class": "uint32", "dims": [0, 0], "data": []}])",
          "\12"
          R"(["a.bam", "a", "out", "chr1:1-100", true, true])",
          "\13"
          R"(["a.bam", "new.bai"])",
          "\3"
          R"([null, "\ud800\u0000x", -0.0, 1e308, {"class": "single", "data": ["NaN", 0.1]},
              {"class": "int64", "data": [-9223372036854775808]},
              {"class": "double", "data": [1, 2], "imag": [3, "Infinity"]}])",
          "\3"
          R"([{"class": "struct", "elements": [{"a": 1, "b": "x"}, {"a": null, "b": []}]},
              {"class": "struct", "fields": {"c": {"class": "logical", "data": [true]}}},
              {"class": "cell", "dims": [1, 2], "data": [["x"], {"class": "string", "data": ["y", null]}]},
              {"class": "char", "dims": [2, 2], "data": "abcd"}])",
          "\3"
          R"([1)"};
}

const Registration registration({.name = "call_arguments", .run = run, .seeds = seeds});

}  // namespace
}  // namespace readkit::fuzz
