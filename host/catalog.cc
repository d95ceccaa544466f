#include "host/catalog.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <variant>

namespace readkit::host {
namespace {

// In the order of core/errors.h, then the host's own.
constexpr CatalogEntry kEntries[] = {
    {"seqlab:readkit:InvalidArgCount",
     "Wrong number of input arguments for '{0}'. See its description for the inputs it takes.",
     {}},
    {"seqlab:readkit:TooManyOutputs",
     "More outputs are requested than the function gives. Ask for fewer outputs.",
     {}},
    {"seqlab:readkit:FileNotFound",
     "The file '{0}' cannot be opened for reading. Check that it exists and that you may read it.",
     "A file to read has an empty name. Give the name of an existing file."},
    {"seqlab:readkit:CannotOpenOutFile",
     "The file '{0}' cannot be opened for writing. Check that its folder exists and that you may "
     "write there.",
     "A file to write has an empty name. Give the name of the file to write."},
    {"seqlab:readkit:FileWrite",
     "The file '{0}' could not be written completely. Check the free space on its disk; what has "
     "been written is incomplete.",
     {}},
    {"seqlab:readkit:BAMReadOnly", "The file '{0}' is not open for writing.", {}},
    {"seqlab:readkit:InvalidBAMFormat",
     "The file '{0}' is not a valid BAM file: a block, its header or a record is malformed. Check "
     "that it is a BAM file and that it was copied completely.",
     {}},
    {"seqlab:readkit:ZLIBInflate",
     "A compressed block of the file '{0}' cannot be decompressed. The file is damaged; obtain it "
     "anew.",
     {}},
    {"seqlab:readkit:ZLIBDeflate", "A block of the file '{0}' could not be compressed.", {}},
    {"seqlab:readkit:BGZFSeek",
     "Cannot go to a position in the file '{0}'. Check that it is a regular file, not a pipe, and "
     "that its index belongs to it.",
     {}},
    {"seqlab:readkit:ReferenceIDNotFound",
     "There is no reference '{0}' in the file. List the file's references to see their names and "
     "their indexes, which start at 0.",
     "A reference name is empty. Give the name of a reference of the file."},
    {"seqlab:readkit:InvalidRegion",
     "'{0}' is not a region of this file. Write a region as name:begin-end with the name of a "
     "reference of the file, for example chr1:1000-2000.",
     "A region is empty. Write a region as name:begin-end, for example chr1:1000-2000."},
    {"seqlab:readkit:InvalidHeaderSubset",
     "None of the wanted references is in the header of the file. Check their spelling.",
     {}},
    {"seqlab:readkit:PositionTooBig",
     "The record '{0}' lies at position 536870912 (2^29) of its reference or beyond, which an "
     "index of the BAI format cannot express.",
     "A record without a name lies at position 536870912 (2^29) of its reference or beyond, which "
     "an index of the BAI format cannot express."},
    {"seqlab:readkit:BAMUnsorted",
     "The records of the BAM file are not in coordinate order. Sort the file before indexing it.",
     {}},
    {"seqlab:readkit:InvalidBAIFormat",
     "The file '{0}' is not a valid BAI index. Make the index of the BAM file anew.",
     {}},
    {"seqlab:readkit:BadIndex",
     "A record number is out of range, or the record numbers do not ascend. Give numbers from 1 to "
     "the number of records, each larger than the one before.",
     {}},
    {"seqlab:readkit:InvalidTagType",
     "An optional field of a record has an unknown type, the letter with code {0}. The record is "
     "damaged or not of this format.",
     {}},
    {"seqlab:readkit:InvalidSAMFormat",
     "The file '{0}' is not a valid SAM file: a line is malformed. Check that every record has its "
     "11 fields, separated by tabs, and a sequence in capital letters.",
     "A record is not valid in the SAM format: its text is malformed, or it cannot be written as "
     "text."},
    {"seqlab:readkit:InvalidInputFormat",
     "The format of the input is not known. Use a BAM or a SAM file.",
     {}},
    {"seqlab:readkit:InvalidOutputFormat",
     "The output format is not known. Use one of the formats BAM, SAM, FASTQ and FASTA.",
     {}},
    {"seqlab:readkit:InvalidIndex", "The record numbers must be a vector of class uint32.", {}},
    {"seqlab:readkit:InvalidSequenceDictionaryType",
     "The list of reference names holds no names. Give a string array or a cell array of character "
     "vectors with one name at least.",
     {}},
    {"seqlab:readkit:InvalidInputType", "The input '{0}' must be of type {1}.", {}},
    {"seqlab:readkit:AllNHTagsMissing",
     "No record of the file '{0}' has the optional field NH, which this way of counting records "
     "with several alignments needs. Choose another way of counting.",
     {}},
    {"seqlab:readkit:BAMRead",
     "The file '{0}' ends early: a block or the header is cut short. Check that it was copied "
     "completely.",
     {}},
    {"seqlab:readkit:BAIRead",
     "The index file '{0}' ends early. Make the index of the BAM file anew.",
     {}},
    {"seqlab:readkit:SAMRead",
     "The SAM file '{0}' cannot be read on. Check the file and its disk.",
     {}},

    {"seqlab:scanqualities:InvalidData",
     "The quality data are malformed, or a setting of the scan is out of its range. Check the "
     "file's format, the quality encoding and the settings.",
     {}},
    {"seqlab:scanqualities:UnableToOpenFile",
     "The file '{0}' cannot be opened for reading. Check that it exists and that you may read it.",
     "A file to read has an empty name. Give the name of an existing file."},
    {"seqlab:scanqualities:MemoryDataInvalid",
     "The data must be a structure with the fields of sequences and their qualities.",
     {}},
    {"seqlab:scanqualities:MemoryNotCell",
     "A field of the data is not a cell array. Give the sequences and the qualities as cell arrays "
     "of character vectors.",
     {}},
    {"seqlab:scanqualities:NumSeqNotEqualNumQual",
     "The data have different numbers of sequences and of qualities. Give one quality text for "
     "each sequence.",
     {}},
    {"seqlab:scanqualities:InvalidDataSourceType", "The type of the data source is not known.", {}},

    {"Tessel:string:MustBeStringScalarOrCharacterVector",
     "An input must be one text: a character vector or a string scalar.",
     {}},
    {"Tessel:string:MissingNotSupported", "An input text is the missing string. Give a text.", {}},

    {"seqlab:bamaccessgw:getfeaturesinrefbyindex:UnknownFeatureType",
     "A requested feature is not known. Check the spelling of the feature names.",
     {}},

    {"Tessel:cpp:out_of_range", "{0}", "A value is out of range."},
    {"Tessel:cpp:invalid_argument", "{0}", "An argument is invalid."},
    {"Tessel:cpp:length_error", "{0}", "A length is too large."},
    {"Tessel:cpp:bad_alloc", "{0}", "There is not enough memory."},
    {"Tessel:cpp:bad_function_call", "{0}", "An empty function was called."},
    {"Tessel:cpp:exception", "{0}", "An unexpected error occurred."},

    {"Tessel:host:LibraryNotFound",
     "There is no library file '{0}'. Check the path of the library.",
     "The path of the library is empty. Give the path of a library file."},
    {"Tessel:host:LibraryDoesNotLoad", "The library '{0}' does not load: {1}", {}},
    {"Tessel:host:NoEntryPoint",
     "The library '{0}' has no entry point {1}. Check that it is a library of gateway functions.",
     {}},
    {"Tessel:host:NothingRegistered", "The library '{0}' registered no functions.", {}},
    {"Tessel:host:FunctionNotFound",
     "There is no function '{0}' in the library '{1}'. List the library's functions to see their "
     "names.",
     "A function name is empty. Give the name of a function of the library '{1}'."},
    {"Tessel:host:NoFunction", "There is no function to call.", {}},
    {"Tessel:host:OutputCount",
     "{0} is not a possible number of outputs. Ask for 0 to {1} outputs.",
     {}},
    {"Tessel:host:NullInput", "Input {0} of the call is missing.", {}},
    {"Tessel:host:InvalidOutput",
     "The function gave an output {0} that is an input, a part of another array, or another output "
     "too.",
     {}},
    {"Tessel:host:Interrupted", "The call was ended before it was done.", {}},

    {"Tessel:array:NullArray", "{0}: there is no array.", {}},
    {"Tessel:array:WrongClass", "{0}: the array must be of class {1}, but it is of class {2}.", {}},
    {"Tessel:array:IndexOutOfRange",
     "{0}: the index {1} lies outside the array, which has {2} elements. Indexes start at 0.",
     {}},
    {"Tessel:array:EmptyArray", "{0}: the array has no elements.", {}},
    {"Tessel:array:WrongElementCount",
     "{0}: the dimensions call for {1} elements, but {2} are given.",
     {}},
    {"Tessel:array:BlockTooSmall",
     "{0}: the memory of the array has no room for {1} rows and {2} columns.",
     {}},
    {"Tessel:array:BlockInUse", "{0}: the memory belongs to an array already.", {}},
    {"Tessel:array:ArrayInUse", "{0}: the array lies in a cell or structure array already.", {}},
    {"Tessel:array:NoSuchField", "The structure has no field '{0}'.", {}},
};

// The number of the placeholder at the start of `text`, which begins with '{'; its length in
// `length`. Gives -1 for a brace that begins no placeholder.
int placeholder(std::string_view text, std::size_t& length) {
  const std::size_t close = text.find('}');
  if (close == std::string_view::npos) return -1;
  int number = -1;
  const char* const end = text.data() + close;
  const auto [stop, error] = std::from_chars(text.data() + 1, end, number);
  if (error != std::errc() || stop != end) return -1;
  length = close + 1;
  return number;
}

// One pass over the text: braces inside arguments, such as file names, are left alone. A
// placeholder without an argument vanishes.
std::string filled(std::string_view text, const ErrorArguments& arguments) {
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t length = 1;
    const int number = text[at] == '{' ? placeholder(text.substr(at), length) : -1;
    if (number < 0) {
      result += text[at];
    } else if (static_cast<std::size_t>(number) < arguments.size()) {
      result += to_text(arguments[static_cast<std::size_t>(number)]);
    }
    at += length;
  }
  return result;
}

std::string generic(std::string_view identifier, const ErrorArguments& arguments) {
  std::string result = "The operation failed with the error '" + std::string(identifier) + "'";
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    result += (i == 0 ? ": " : ", ") + to_text(arguments[i]);
  }
  return result + ".";
}

struct ToText {
  std::string operator()(std::int64_t number) const { return std::to_string(number); }
  std::string operator()(const std::string& bytes) const { return bytes; }
  std::string operator()(const UString& text) const { return to_bytes(text); }
};

}  // namespace

const CatalogEntry* find_entry(std::string_view identifier) {
  const auto* const found =
      std::find_if(std::begin(kEntries), std::end(kEntries),
                   [&](const CatalogEntry& entry) { return entry.identifier == identifier; });
  return found == std::end(kEntries) ? nullptr : found;
}

std::vector<std::string_view> catalog_identifiers() {
  std::vector<std::string_view> identifiers;
  for (const CatalogEntry& entry : kEntries) identifiers.push_back(entry.identifier);
  return identifiers;
}

std::string message(std::string_view identifier, const ErrorArguments& arguments) {
  const CatalogEntry* const entry = find_entry(identifier);
  if (entry == nullptr) return generic(identifier, arguments);
  const bool without_first = !entry->text_without_first_argument.empty() &&
                             (arguments.empty() || to_text(arguments[0]).empty());
  return filled(without_first ? entry->text_without_first_argument : entry->text, arguments);
}

std::string to_text(const ErrorArgument& argument) { return std::visit(ToText{}, argument); }

}  // namespace readkit::host
