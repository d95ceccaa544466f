#include "gateway/results.h"

namespace readkit {

matrix::Owned make_cells(std::size_t rows) { return matrix::Owned(txCreateCellMatrix(rows, 1)); }

void set_text(const matrix::Owned& cells, std::size_t row, std::string_view bytes) {
  txSetCell(cells.get(), row, matrix::create(bytes.data(), bytes.size()));
}

}  // namespace readkit
