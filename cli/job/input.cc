#include "cli/job/input.h"

#include <algorithm>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

#include "cli/files/byte_source.h"
#include "cli/files/gunzip.h"
#include "cli/job/job.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/output.h"

namespace readkit::cli {
namespace {

std::string list_of(std::initializer_list<Kind> kinds) {
  std::string list;
  for (const Kind* kind = kinds.begin(); kind != kinds.end(); ++kind) {
    if (kind != kinds.begin()) list += kind + 1 == kinds.end() ? " or " : ", ";
    list += name_of(*kind);
  }
  return list;
}

std::string advice_for(const FileKind& found) {
  if (found.other == "empty") return "what should have written it has failed, or is not done yet";
  if (found.other.starts_with("compressed with")) return "decompress it first";
  if (found.other == "CRAM") return "convert it first: samtools view -b -o reads.bam FILE";
  if (found.kind == Kind::kBai) return "give the BAM file that the index belongs to";
  if (found.kind == Kind::kFastq) return "readkit quality and readkit check take FASTQ";
  return "readkit check FILE tells more of it";
}

[[noreturn]] void refuse(const std::string& name, const FileKind& found,
                         std::initializer_list<Kind> wanted) {
  std::string what = found.kind != Kind::kOther ? std::string("is ") + name_of(found.kind)
                     : found.other.empty()      ? "is of no known kind"
                                                : "is " + found.other;
  throw Failure(name, what + ", and not " + list_of(wanted), {}, advice_for(found));
}

// Copies, or unpacks, all that is left of `source` into a new file.
void spool(Job& job, ByteSource& source, const std::string& name, bool packed,
           const std::string& path) {
  constexpr mode_t kOwnerOnly = 0600;
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerOnly);
  if (fd < 0) throw Failure(path, "cannot be written", {}, "set TMPDIR to another folder");
  struct Closer {
    int fd;
    ~Closer() { close(fd); }
  } const closer{fd};
  Output out(fd);
  const auto append = [&out](std::span<const std::uint8_t> bytes) {
    out.append({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  };
  try {
    Gunzip gunzip(name, append);
    for (auto bytes = source.read(); !bytes.empty(); bytes = source.read()) {
      if (packed) {
        gunzip.add(bytes);
      } else {
        append(bytes);
      }
      job.progress().reading(name, source.position(), source.size());
    }
    if (packed) gunzip.finish();
    out.finish();
  } catch (const OutputError& e) {
    throw Failure(name, std::string("cannot be unpacked into ") + path + ": " + e.what(), {},
                  "set TMPDIR to a folder with more room");
  }
}

}  // namespace

Input::Input(Job& job, const std::string& name, std::initializer_list<Kind> wanted)
    : name_(name == "-" ? "standard input" : name), path_(name) {
  ByteSource source(name);
  const FileKind found = kind_of(source.peek());
  kind_ = found.kind;
  if (wanted.size() > 0 && std::find(wanted.begin(), wanted.end(), kind_) == wanted.end()) {
    refuse(name_, found, wanted);
  }
  const bool regular = source.is_regular() && name != "-";
  if (regular && !found.packed) return;
  folder_ = PrivateFolder::temporary();
  path_ = folder_->file("input");
  job.show_as(path_, name_);
  spool(job, source, name_, found.packed, path_);
}

}  // namespace readkit::cli
