#include "header/bam_header.h"

#include <algorithm>
#include <utility>

#include "core/errors.h"

namespace readkit {

const Reference& BamHeader::get_ref(int id) const {
  if (id < 0 || id >= get_num_refs()) throw ReferenceIDNotFound(to_ustring(id));
  return references_[static_cast<std::size_t>(id)];
}

int BamHeader::get_ref_id(std::string_view name) const {
  const auto found = std::find_if(references_.begin(), references_.end(),
                                  [name](const Reference& r) { return r.name() == name; });
  if (found == references_.end()) throw ReferenceIDNotFound(to_ustring(name));
  return static_cast<int>(found - references_.begin());
}

std::unordered_map<int, int> BamHeader::subset(const std::set<std::string>& names) {
  std::unordered_map<int, int> new_ids;
  new_ids.max_load_factor(1.0F);
  new_ids.reserve(names.size());
  std::vector<Reference> kept;
  for (int id = 0; id < get_num_refs(); ++id) {
    const Reference& reference = references_[static_cast<std::size_t>(id)];
    if (!names.contains(std::string(reference.name()))) continue;
    new_ids.emplace(id, static_cast<int>(kept.size()));
    kept.push_back(reference);
  }
  if (kept.empty()) throw InvalidHeaderSubset();
  references_ = std::move(kept);
  return new_ids;
}

void BamHeader::add_reference(std::string_view name, std::uint32_t length) {
  std::string stored_name(name);
  stored_name.push_back('\0');
  references_.push_back({std::move(stored_name), length});
}

}  // namespace readkit
