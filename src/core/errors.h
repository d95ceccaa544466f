// Every error kind of the library: one base, one thin class per kind, in the order of
// docs/errors.md. A kind carries an identifier, component + ":" + kind, and the arguments that the
// host's message catalog fills into its text; the texts themselves are the host's.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "core/export.h"
#include "core/ustring.h"

namespace readkit {

/// One argument of an error, in the host's order of alternatives.
using ErrorArgument = std::variant<std::int64_t, std::string, UString>;
using ErrorArguments = std::vector<ErrorArgument>;

/// The base of every error kind. Copyable: a host may carry it to its own error handler.
class READKIT_EXPORT MsgIdException : public std::exception {
 public:
  MsgIdException(std::string component, std::string kind, ErrorArguments arguments = {});
  MsgIdException(const MsgIdException&) = default;
  MsgIdException& operator=(const MsgIdException&) = default;
  /// Inline, so that a host and a library in one process may each hold the class.
  ~MsgIdException() override = default;

  /// The full message identifier, for example "seqlab:readkit:InvalidRegion".
  const std::string& get_error_id() const { return id_; }
  const std::string& component() const { return component_; }
  const std::string& kind() const { return kind_; }
  /// The arguments, in the order in which the message text refers to them.
  const ErrorArguments& arguments() const { return arguments_; }
  /// The identifier; the library formats no message texts.
  const char* what() const noexcept override { return id_.c_str(); }

 private:
  std::string component_;
  std::string kind_;
  ErrorArguments arguments_;
  std::string id_;
};

// Defines the kind NAME of COMPONENT that carries no argument, or one text.
#define READKIT_ERROR_KIND(COMPONENT, NAME)           \
  class READKIT_EXPORT NAME : public MsgIdException { \
   public:                                            \
    NAME() : MsgIdException(COMPONENT, #NAME) {}      \
  }
#define READKIT_ERROR_KIND_WITH_TEXT(COMPONENT, NAME, TEXT)                              \
  class READKIT_EXPORT NAME : public MsgIdException {                                    \
   public:                                                                               \
    explicit NAME(UString TEXT) : MsgIdException(COMPONENT, #NAME, {std::move(TEXT)}) {} \
  }

// ---- "seqlab:readkit" -----------------------------------------------------------------------

/// A gateway's input count is out of its range. Raised by `validate_argcount`.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", InvalidArgCount, gateway);
/// More outputs are requested than the gateway gives. Raised by `validate_argcount`, and by
/// `getFeatures` and `kxFields` for more names than they have output slots.
READKIT_ERROR_KIND("seqlab:readkit", TooManyOutputs);
/// An input cannot be opened. Raised on opening a BGZF stream, a BAI file or a SAM file.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", FileNotFound, file);
/// An output cannot be opened, or is one of the inputs. Raised by `BAI::dump`, the conversions,
/// sorts, shuffles and merges, and the gateways that write SAM text.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", CannotOpenOutFile, file);
/// A write, flush or close of an output failed.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", FileWrite, file);
/// `BGZF::write` on a stream that is not in write mode.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", BAMReadOnly, file);
/// A short or invalid block header, a header without the BAM magic, or a record whose fields do
/// not fit into it. Raised by `BGZF::read_block`, `BamHeader::read` and every reader of records.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", InvalidBAMFormat, file);
/// A block does not inflate. Raised by `BGZF::inflate_block`.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", ZLIBInflate, file);
/// A block does not deflate. Raised by `BGZF::deflate_block`.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", ZLIBDeflate, file);
/// The file cannot be positioned. Raised by `BGZF::seek`.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", BGZFSeek, file);
/// No such reference; `reference` is its index in decimal or its name. Raised by
/// `BamHeader::get_ref`, `BamHeader::get_ref_id`, `BAM::filter_overlapping`, and by every
/// operation that needs the name of a reference outside the dictionary.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", ReferenceIDNotFound, reference);
/// Not of the form name:begin-end. Raised by `BamHeader::parse_region`.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", InvalidRegion, region);
/// None of the wanted names is in the dictionary. Raised by `BamHeader::subset`.
READKIT_ERROR_KIND("seqlab:readkit", InvalidHeaderSubset);
/// A placed record begins or ends at 2^29 or beyond. Raised by `BAI::add`.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", PositionTooBig, read_name);
/// Records are out of coordinate order. Raised by `BAI::add`, `kxFields` and `kxSamWriteRegions`.
READKIT_ERROR_KIND("seqlab:readkit", BAMUnsorted);
/// Wrong magic or a negative count. Raised by `BAI::load` and `IndexFile`.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", InvalidBAIFormat, file);
/// A record ordinal that is out of range or does not ascend, or lists of regions that differ in
/// length. Raised by the conversions, `getFeatures`, `kxFields` and `kxSamWriteRegions`.
READKIT_ERROR_KIND("seqlab:readkit", BadIndex);
/// An optional field of an unknown type; `letter_code` is the letter as a signed 8-bit number in
/// decimal. Raised by `tag_elem_size` and `tag_snprintf`.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", InvalidTagType, letter_code);
/// A SAM line that cannot be parsed or formatted (`file` empty), or a SAM file that holds such a
/// line (`file` its name).
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", InvalidSAMFormat, file);
/// An input of a format that the merge or `convertFormat` does not know.
READKIT_ERROR_KIND("seqlab:readkit", InvalidInputFormat);
/// An output format that `convertFormat` does not know.
READKIT_ERROR_KIND("seqlab:readkit", InvalidOutputFormat);
/// Record ordinals that are not a uint32 vector. Raised by `convertFormat`.
READKIT_ERROR_KIND("seqlab:readkit", InvalidIndex);
/// A list of reference names without a name. Raised by `convertFormat`.
READKIT_ERROR_KIND("seqlab:readkit", InvalidSequenceDictionaryType);
/// An option of the wrong host class or form: its name, and the word for what was expected.
class READKIT_EXPORT InvalidInputType : public MsgIdException {
 public:
  InvalidInputType(UString option, UString expected)
      : MsgIdException("seqlab:readkit", "InvalidInputType",
                       {std::move(option), std::move(expected)}) {}
};
/// Multi-mapped counting needs the NH field and no record has it. Raised by
/// `getFeatureCountData`.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", AllNHTagsMissing, file);
/// A file ends inside a block or inside a header. Raised by `BGZF::read_block` and
/// `BGZF::checked_read`.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", BAMRead, file);
/// An index file ends early. Raised by `BAI::load` and `IndexFile`.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", BAIRead, file);
/// A SAM file cannot be read on. Raised by the SAM reader and the SAM information scan.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:readkit", SAMRead, file);

// ---- "seqlab:scanqualities" -----------------------------------------------------------------

/// Malformed quality data or settings.
READKIT_ERROR_KIND("seqlab:scanqualities", InvalidData);
/// A FASTQ file cannot be opened.
READKIT_ERROR_KIND_WITH_TEXT("seqlab:scanqualities", UnableToOpenFile, file);
/// In-memory data without the fields of sequences.
READKIT_ERROR_KIND("seqlab:scanqualities", MemoryDataInvalid);
/// A field of in-memory data is not a cell array.
READKIT_ERROR_KIND("seqlab:scanqualities", MemoryNotCell);
/// The counts of sequences and qualities differ.
READKIT_ERROR_KIND("seqlab:scanqualities", NumSeqNotEqualNumQual);
/// A data source of an unknown type.
READKIT_ERROR_KIND("seqlab:scanqualities", InvalidDataSourceType);

// ---- "Tessel:string" ------------------------------------------------------------------------

/// An argument that must be one text is not a character vector or a one-element string array.
READKIT_ERROR_KIND("Tessel:string", MustBeStringScalarOrCharacterVector);
/// A text argument is the missing string.
READKIT_ERROR_KIND("Tessel:string", MissingNotSupported);

#undef READKIT_ERROR_KIND
#undef READKIT_ERROR_KIND_WITH_TEXT

}  // namespace readkit
