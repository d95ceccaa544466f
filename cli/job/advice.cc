#include "cli/job/advice.h"

#include <algorithm>
#include <string_view>

#include "host/catalog.h"

namespace readkit::cli {
namespace {

// What an argument of an error is.
enum class Argument { kNone, kFile, kOther };

struct Advice {
  std::string_view identifier;  // without "seqlab:readkit:", or whole
  Argument argument;
  const char* what;    // {0} stands for the argument
  const char* advice;  // {file} stands for the file that is blamed
};

constexpr Advice kAdvice[] = {
    {"FileNotFound", Argument::kFile, "cannot be opened",
     "check that it exists, and that you may read it"},
    {"CannotOpenOutFile", Argument::kFile, "cannot be written",
     "check that its folder exists, and that you may write there"},
    {"FileWrite", Argument::kFile, "could not be written completely",
     "make room on its disk and run this again; nothing is left of this run"},
    {"InvalidBAMFormat", Argument::kFile,
     "is no sound BAM file: a block, the header or a record is malformed, or the end marker is "
     "missing",
     "readkit check {file} tells what and where; if it was cut short, copy it again"},
    {"ZLIBInflate", Argument::kFile, "a compressed block is damaged",
     "readkit check {file} tells where; copy it again from where it came from"},
    {"BGZFSeek", Argument::kFile, "the index leads to places that it does not have",
     "make the index anew: readkit index {file}"},
    {"BAMRead", Argument::kFile, "ends early: it is cut short",
     "copy it again from where it came from; readkit check {file} tells what is left"},
    {"SAMRead", Argument::kFile, "cannot be read on", "check the file and its disk"},
    {"InvalidSAMFormat", Argument::kNone, "a line is malformed, or a record has no form as text",
     "readkit check {file} lists what is malformed, with its line"},
    {"Tessel:cpp:invalid_argument", Argument::kNone,
     "a number is malformed; array fields (type B) in SAM text are none that can be read",
     "convert the text to BAM with another tool, for example samtools view -b, and use that"},
    {"Tessel:cpp:out_of_range", Argument::kNone, "a value is out of its range",
     "readkit check {file} lists what is malformed"},
    {"BAMUnsorted", Argument::kNone, "its records are not in coordinate order",
     "sort it first: readkit sort -o sorted.bam {file}"},
    {"PositionTooBig", Argument::kOther,
     "the record '{0}' lies at position 2^29 or beyond, which an index of this format cannot "
     "express",
     "work without an index: whole files are read then"},
    {"InvalidBAIFormat", Argument::kFile, "is no sound BAI index",
     "make it anew with readkit index; CSI indexes are not read"},
    {"BAIRead", Argument::kFile, "ends early: the index is cut short",
     "make it anew with readkit index"},
    {"ReferenceIDNotFound", Argument::kOther,
     "a record names the reference '{0}', which the header "
     "does not have",
     "readkit check {file} lists such records"},
    {"InvalidTagType", Argument::kNone, "an optional field of a record is of an unknown type",
     "readkit check {file} tells which"},
    {"InvalidHeaderSubset", Argument::kNone, "none of the references that were asked for is there",
     "readkit refs {file} lists them"},
    {"AllNHTagsMissing", Argument::kFile, "no record has the field NH, by which they were to count",
     "leave --multi-mapped away, or use --multi-mapped drop-secondary"},
    {"seqlab:scanqualities:InvalidData", Argument::kNone,
     "a read cannot be counted: its bases and qualities differ in number, or a quality is no "
     "character from ! to ~",
     "readkit check {file} tells where; FASTQ records must have four lines each, BAM and SAM "
     "records "
     "their qualities"},
    {"seqlab:scanqualities:UnableToOpenFile", Argument::kFile, "cannot be opened",
     "check that it exists, and that you may read it"},
    {"Tessel:cpp:bad_alloc", Argument::kNone,
     "there is not enough memory, or a length in the file is impossible",
     "readkit check {file} tells whether it is damaged"},
    {"Tessel:cpp:length_error", Argument::kNone, "a length in the file is impossible",
     "readkit check {file} tells where it is damaged"},
    {"Tessel:host:LibraryNotFound", Argument::kFile, "there is no such library",
     "use --library fast or exact, or the path of a library"},
};

const Advice* find_advice(std::string_view identifier) {
  constexpr std::string_view kPrefix = "seqlab:readkit:";
  if (identifier.starts_with(kPrefix)) identifier.remove_prefix(kPrefix.size());
  const Advice* const found =
      std::find_if(std::begin(kAdvice), std::end(kAdvice),
                   [&](const Advice& advice) { return advice.identifier == identifier; });
  return found == std::end(kAdvice) ? nullptr : found;
}

std::string filled(std::string text, std::string_view placeholder, const std::string& value) {
  const std::size_t at = text.find(placeholder);
  return at == std::string::npos ? text : text.replace(at, placeholder.size(), value);
}

}  // namespace

Failure failure_of(const host::HostError& error, const std::string& main_file,
                   const std::function<std::string(const std::string&)>& shown) {
  const Advice* const found = find_advice(error.identifier());
  if (found == nullptr) return {main_file, error.text(), error.identifier()};
  const std::string argument =
      error.arguments().empty() ? "" : host::to_text(error.arguments().front());
  const bool names_file = found->argument == Argument::kFile && !argument.empty();
  const std::string file = names_file ? shown(argument) : main_file;
  return {file, filled(found->what, "{0}", argument), error.identifier(),
          filled(found->advice, "{file}", file.empty() ? "FILE" : file)};
}

}  // namespace readkit::cli
