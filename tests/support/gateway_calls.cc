#include "support/gateway_calls.h"

#include "support/libraries.h"

namespace readkit {

const host::Library& gateway_library() {
  static const host::Library library(library_path());
  return library;
}

Outputs call_gateway(std::string_view name, int nlhs, const Inputs& inputs) {
  return host::call(gateway_library().function(name), nlhs, inputs);
}

void expect_shape(const host::Owned& a, txClassID class_id, std::size_t rows, std::size_t columns) {
  ASSERT_NE(a, nullptr) << "the output was not made";
  EXPECT_STREQ(host::class_name(txGetClassID(a.get())), host::class_name(class_id));
  EXPECT_EQ(host::dims_of(a.get()), (host::Dims{rows, columns}));
}

std::string row_text_of(const host::Owned& a) {
  expect_shape(a, txCHAR_CLASS, 1, txGetNumberOfElements(a.get()));
  return txGetClassID(a.get()) == txCHAR_CLASS ? host::text_of(a.get()) : std::string();
}

std::vector<std::string> texts_of(const host::Owned& a) {
  expect_shape(a, txCELL_CLASS, txGetNumberOfElements(a.get()), 1);
  std::vector<std::string> texts;
  if (txGetClassID(a.get()) != txCELL_CLASS) return texts;
  for (std::size_t i = 0; i < txGetNumberOfElements(a.get()); ++i) {
    const txArray* const cell = host::cell_of(a.get(), i);
    if (cell == nullptr) {
      texts.emplace_back(kEmptyCell);
      continue;
    }
    EXPECT_EQ(txGetM(cell), 1U);
    EXPECT_EQ(txGetClassID(cell), txCHAR_CLASS);
    texts.push_back(host::text_of(cell));
  }
  return texts;
}

std::string described(const txArray* a) {
  if (a == nullptr) return "null";
  std::string text = host::class_name(txGetClassID(a));
  for (const std::size_t size : host::dims_of(a)) text += ' ' + std::to_string(size);
  text += '(';
  switch (txGetClassID(a)) {
    case txCHAR_CLASS:
      text += host::text_of(a);
      break;
    case txCELL_CLASS:
      for (std::size_t i = 0; i < txGetNumberOfElements(a); ++i) {
        text += described(host::cell_of(a, i)) + ',';
      }
      break;
    case txSTRUCT_CLASS:
      for (std::size_t i = 0; i < txGetNumberOfElements(a); ++i) {
        for (const std::string& field : host::field_names_of(a)) {
          text += field + '=' + described(host::field_of(a, field, i)) + ',';
        }
      }
      break;
    default:
      for (const double number : host::numbers_of(a)) text += std::to_string(number) + ' ';
  }
  return text + ')';
}

std::string described(const Outputs& outputs) {
  std::string text;
  for (const host::Owned& output : outputs) text += described(output.get()) + ';';
  return text;
}

LeakCheck::~LeakCheck() {
  EXPECT_EQ(host::live_arrays(), arrays_) << "arrays were left over";
  EXPECT_EQ(host::live_blocks(), blocks_) << "blocks of host memory were left over";
}

}  // namespace readkit
