#include "gateway/results.h"

namespace readkit {

matrix::Owned make_cells(std::size_t rows) { return matrix::Owned(txCreateCellMatrix(rows, 1)); }

void set_text(const matrix::Owned& cells, std::size_t row, std::string_view bytes) {
  txSetCell(cells.get(), row, matrix::create(bytes.data(), bytes.size()));
}

void set_field(const matrix::Owned& structure, const char* name, matrix::Owned value) {
  txSetField(structure.get(), 0, name, value.get());
  static_cast<void>(value.release());
}

}  // namespace readkit
