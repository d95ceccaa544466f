#include "convert/subset.h"

#include <utility>

namespace readkit {
namespace {

std::string name_of(int ref_id, const BamHeader& header) {
  return ref_id < 0 ? Alignment::FieldMissingStr : std::string(header.get_ref(ref_id).name());
}

}  // namespace

std::set<std::string> with_mates(std::set<std::string> refs, const Source& source) {
  source.rewind();
  while (source.next()) {
    if (!refs.contains(name_of(source.current.ref_id(), source.header))) continue;
    std::string mate = name_of(source.current.next_ref_id(), source.header);
    if (mate != Alignment::FieldMissingStr && mate != "=") refs.insert(std::move(mate));
  }
  return refs;
}

}  // namespace readkit
