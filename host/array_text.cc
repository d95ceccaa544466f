// Text in arrays: character arrays, string arrays and cells of texts.
#include <algorithm>
#include <cstring>
#include <string>

#include "core/errors.h"
#include "host/array_storage.h"
#include "host/error.h"

namespace readkit::host {
namespace {

// Widens ASCII bytes to units and tells whether all of them were ASCII. Written as one loop without
// an early exit, which compilers turn into vector code.
bool widen(const char* bytes, std::size_t length, char16_t* units) {
  unsigned seen = 0;
  for (std::size_t i = 0; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    seen |= byte;
    units[i] = byte;
  }
  return seen < 0x80;
}

bool narrow(std::u16string_view units, char* bytes) {
  unsigned seen = 0;
  for (std::size_t i = 0; i < units.size(); ++i) {
    seen |= units[i];
    bytes[i] = static_cast<char>(units[i]);
  }
  return seen < 0x80;
}

std::string narrowed(std::u16string_view units) {
  std::string bytes(units.size(), '\0');
  if (!narrow(units, bytes.data())) bytes = to_bytes(units);
  return bytes;
}

std::u16string_view all_units(const txArray& a) { return {units_of(a), txGetNumberOfElements(&a)}; }

// The text of a character array or string scalar, where it lies.
std::u16string_view text_in(const txArray* a) {
  if (txGetClassID(a) == txCHAR_CLASS) return all_units(*a);
  if (txGetClassID(a) != txSTRING_CLASS || txGetNumberOfElements(a) != 1) {
    throw MustBeStringScalarOrCharacterVector();
  }
  const OptionalText& text = a->extra->texts[0];
  if (!text) throw MissingNotSupported();
  return *text;
}

Owned row_of_bytes(const char* bytes, std::size_t length) {
  Owned a = new_text(length);
  if (!widen(bytes, length, units_of(*a))) {
    // Never more units than bytes, so the text fits where its bytes went.
    const UString text = to_ustring(std::string_view(bytes, length));
    std::copy(text.begin(), text.end(), units_of(*a));
    a->columns = text.size();
  }
  return a;
}

}  // namespace

Owned new_text(std::size_t units) {
  return new_array(txCHAR_CLASS, 1, units, sizeof(char16_t), Contents::kUninitialized);
}

Owned make_text(std::string_view bytes) { return row_of_bytes(bytes.data(), bytes.size()); }

Owned make_text(std::u16string_view units) {
  Owned a = new_text(units.size());
  std::copy(units.begin(), units.end(), units_of(*a));
  return a;
}

Owned make_string(OptionalText text) {
  std::vector<OptionalText> texts;
  texts.push_back(std::move(text));
  return make_string_array({1, 1}, std::move(texts));
}

Owned make_string_array(const Dims& dims, std::vector<OptionalText> texts) {
  Owned a = new_array(txSTRING_CLASS, dims, 0, Contents::kZeros);
  check_count(*a, texts.size(), "make_string_array");
  extra_of(*a).texts = std::move(texts);
  return a;
}

std::string text_of(const txArray* a) {
  try {
    return matrix::get_string(a);
  } catch (const MsgIdException&) {
    raise_as_host_error();
  }
}

std::vector<std::string> texts_of(const txArray* a) {
  std::vector<std::string> texts;
  if (txGetClassID(a) == txCELL_CLASS) {
    for (std::size_t i = 0; i < txGetNumberOfElements(a); ++i) {
      const txArray* const cell = cell_of(a, i);
      texts.push_back(cell == nullptr ? std::string() : text_of(cell));
    }
    return texts;
  }
  try {
    for (const UString& text : matrix::get_string_array(a)) texts.push_back(narrowed(text));
  } catch (const MsgIdException&) {
    raise_as_host_error();
  }
  return texts;
}

std::optional<std::string> string_of(const txArray* a, std::size_t index) {
  const OptionalText text = matrix::getString(a, index);
  if (!text) return std::nullopt;
  return narrowed(*text);
}

}  // namespace readkit::host

extern "C" txArray* txCreateString(const char* text) {
  return matrix::create(text, text == nullptr ? 0 : std::strlen(text));
}

namespace matrix {

txArray* create(const char* bytes, std::size_t length) {
  if (bytes == nullptr && length != 0) readkit::host::raise_null_array("matrix::create");
  return readkit::host::row_of_bytes(bytes, length).release();
}

std::string get_string(const txArray* a) {
  return readkit::host::narrowed(readkit::host::text_in(a));
}

readkit::UString get_ustring(const txArray* a) {
  return readkit::UString(readkit::host::text_in(a));
}

std::vector<readkit::UString> get_string_array(const txArray* a) {
  std::vector<readkit::UString> texts;
  if (txGetClassID(a) == txCELL_CLASS) {
    for (const txArray* cell : readkit::host::contents_of(*a).first(txGetNumberOfElements(a))) {
      if (txGetClassID(cell) != txCHAR_CLASS) throw readkit::MustBeStringScalarOrCharacterVector();
      texts.emplace_back(readkit::host::all_units(*cell));
    }
  } else if (isString(a)) {
    for (std::size_t i = 0; i < txGetNumberOfElements(a); ++i) {
      const readkit::host::OptionalText& text = a->extra->texts[i];
      if (!text) throw readkit::MissingNotSupported();
      texts.push_back(*text);
    }
  } else {
    texts.push_back(get_ustring(a));
  }
  return texts;
}

bool isString(const txArray* a) { return txGetClassID(a) == txSTRING_CLASS; }

std::optional<readkit::UString> getString(const txArray* a, std::size_t index) {
  const txArray& strings = readkit::host::checked(a, txSTRING_CLASS, "getString");
  readkit::host::check_index(strings, index, "getString");
  return strings.extra->texts[index];
}

}  // namespace matrix
