// The transpose over Vector; included by move_kernels_impl.h, whose conventions hold.
//
// Four columns of as many rows as a vector has words are turned at a time: 128-bit loads of rows k,
// k + 4, k + 8 … go to the lanes of one vector, so that two rounds of unpacking within lanes are
// enough, and four registers. Sixteen rows, one step, give a cache line's worth of each target row.
//
// Target rows are aligned to four bytes only, each in its own way. Where their lines are streamed,
// the words of a step that do not fill a line wait for the next step.

namespace velpicture::VEL_VARIANT {
namespace {

constexpr int kStepRows = kLineWords;

/// Turns four columns of a step; put(c, r, words) gets words r and on of column c.
template <class Put>
inline void TurnFourColumns(const uint8_t* source, ptrdiff_t stride, Put put) {
  for (int row = 0; row < kStepRows; row += Vector::kWords) {
    const uint8_t* const first = source + row * stride;
    const auto row0 = Vector::LoadRows(first, 4 * stride);
    const auto row1 = Vector::LoadRows(first + stride, 4 * stride);
    const auto low01 = Vector::Low32(row0, row1);
    const auto high01 = Vector::High32(row0, row1);
    const auto row2 = Vector::LoadRows(first + 2 * stride, 4 * stride);
    const auto row3 = Vector::LoadRows(first + 3 * stride, 4 * stride);
    const auto low23 = Vector::Low32(row2, row3);
    const auto high23 = Vector::High32(row2, row3);
    put(0, row, Vector::Low64(low01, low23));
    put(1, row, Vector::High64(low01, low23));
    put(2, row, Vector::Low64(high01, high23));
    put(3, row, Vector::High64(high01, high23));
  }
}

/// One column of any number of rows, word by word.
inline void TurnWords(const uint8_t* source, ptrdiff_t stride, ptrdiff_t rowCount, uint8_t* to,
                      WordMask mask) {
  for (ptrdiff_t row = 0; row < rowCount; ++row) {
    StoreWord(to + row * 4, (LoadWord(source + row * stride) & mask.keep) | mask.set);
  }
}

constexpr WordMask kUnmasked = {0xFFFFFFFF, 0};

/// Rows `firstRow` and on of columns `column` to endColumn − 1, word by word.
inline void TurnRest(const TransposeBand& band, ptrdiff_t firstRow, int column, int endColumn) {
  for (; column < endColumn; ++column) {
    TurnWords(band.source + firstRow * band.sourceStride + column * 4, band.sourceStride,
              band.rowCount - firstRow, band.targetRows[column] + firstRow * 4, band.mask);
  }
}

/// Every step straight to the target rows, through the cache.
void TransposeDirectly(const TransposeBand& band) {
  const MaskPair<Vector> masked(band.mask);
  const int wholeColumns = band.columnCount & ~3;
  ptrdiff_t first = 0;
  for (; first + kStepRows <= band.rowCount; first += kStepRows) {
    const uint8_t* const source = band.source + first * band.sourceStride;
    for (int column = 0; column < wholeColumns; column += 4) {
      TurnFourColumns(source + column * 4, band.sourceStride,
                      [&](int which, int row, typename Vector::Type words) {
                        Vector::Store(band.targetRows[column + which] + (first + row) * 4,
                                      masked(words));
                      });
    }
  }
  TurnRest(band, first, 0, wholeColumns);
  TurnRest(band, 0, wholeColumns, band.columnCount);
}

/// What both ways of writing whole lines share: where the lines of the target rows begin, and the
/// ends of the rows.
struct LineRows {
  /// Rows that are not streamed are cut into lines from their beginning.
  LineRows(const TransposeBand& transposeBand, bool streams) : band(transposeBand) {
    for (int column = 0; column < band.columnCount; ++column) {
      head[column] = streams ? WordsToLine(band.targetRows[column]) * 4 : 0;
      lines[column] = band.targetRows[column] + head[column];
    }
  }

  /// The words in front of a row's first line; `words` are the row's first.
  void StoreHead(int column, const uint8_t* words) const {
    MoveFew(band.targetRows[column], words, head[column] / 4, band.mask);
  }

  /// The words behind the last line that ends within the first `end` words of a row, up to word
  /// `end`; `words` are the last sixteen of them.
  void StoreTail(int column, const uint8_t* words, ptrdiff_t end) const {
    MoveFew(lines[column] + end * 4 - kLineBytes, words + head[column],
            (kLineBytes - head[column]) / 4, band.mask);
  }

  const TransposeBand& band;
  /// Bytes in front of the first whole line of each target row.
  ptrdiff_t head[TransposeBand::kMaxColumns];
  uint8_t* lines[TransposeBand::kMaxColumns];
};

/// Gathers up to kMaxSteps steps, so that several lines at a stretch go to each target row. Best
/// where rows collide in the caches and in memory; then, though, of no more than four steps.
template <bool kStream, int kMaxSteps>
void TransposeThroughStage(const TransposeBand& band) {
  const LineRows rows(band, kStream);
  const MaskPair<Vector> masked(band.mask);
  // Of each column, the last step of the block before, and then the steps of this block.
  alignas(64) uint8_t stage[TransposeBand::kMaxColumns][(1 + kMaxSteps) * kLineBytes];
  const int wholeColumns = band.columnCount & ~3;
  const ptrdiff_t stepCount = band.rowCount / kStepRows;
  const ptrdiff_t linesPerRow = (band.columnCount * 4 + kLineBytes - 1) / kLineBytes;

  for (ptrdiff_t firstStep = 0; firstStep < stepCount;) {
    const ptrdiff_t steps = stepCount - firstStep < kMaxSteps ? stepCount - firstStep : kMaxSteps;
    const uint8_t* source = band.source + firstStep * kStepRows * band.sourceStride;
    for (ptrdiff_t step = 1; step <= steps; ++step) {
      for (int column = 0; column < wholeColumns; column += 4) {
        TurnFourColumns(source + column * 4, band.sourceStride,
                        [&](int which, int row, typename Vector::Type words) {
                          Vector::Store(stage[column + which] + step * kLineBytes + row * 4, words);
                        });
      }
      for (int column = wholeColumns; column < band.columnCount; ++column) {
        TurnWords(source + column * 4, band.sourceStride, kStepRows,
                  stage[column] + step * kLineBytes, kUnmasked);
      }
      source += kStepRows * band.sourceStride;
    }
    // While the lines go out, the next block comes in.
    ptrdiff_t aheadRow = 0;
    ptrdiff_t aheadLine = 0;
    const bool more = firstStep + steps < stepCount;
    for (int column = 0; column < band.columnCount; ++column) {
      const uint8_t* line = stage[column] + rows.head[column];
      uint8_t* to = rows.lines[column] + (firstStep - 1) * kLineBytes;
      ptrdiff_t step = 0;
      if (firstStep == 0) {
        rows.StoreHead(column, stage[column] + kLineBytes);
        step = 1;
        line += kLineBytes;
        to += kLineBytes;
      }
      for (; step < steps; ++step, line += kLineBytes, to += kLineBytes) {
        for (ptrdiff_t i = 0; i < kLineBytes; i += kVectorBytes) {
          const auto words = masked(Vector::Load(line + i));
          if constexpr (kStream) {
            Vector::Stream(to + i, words);
          } else {
            Vector::Store(to + i, words);
          }
        }
        if (!more) continue;
        Prefetch(source, aheadRow + aheadLine * kLineBytes);
        if (++aheadLine == linesPerRow) {
          aheadLine = 0;
          aheadRow += band.sourceStride;
        }
      }
      for (ptrdiff_t i = 0; i < kLineBytes; i += kVectorBytes) {
        Vector::Store(stage[column] + i, Vector::Load(stage[column] + steps * kLineBytes + i));
      }
    }
    firstStep += steps;
  }
  if (stepCount > 0) {
    for (int column = 0; column < band.columnCount; ++column) {
      rows.StoreTail(column, stage[column], stepCount * kStepRows);
    }
  }
  TurnRest(band, stepCount * kStepRows, 0, band.columnCount);
}

/// Joins each step with the step before in registers, and streams a line at a time. Best where a
/// vector is a whole line and rows do not collide.
template <class V = Vector>
void TransposeThroughRegisters(const TransposeBand& band) {
  constexpr ptrdiff_t kPrefetchRows = 32;
  const LineRows rows(band, true);
  const MaskPair<Vector> masked(band.mask);
  alignas(64) uint8_t lastStep[TransposeBand::kMaxColumns][kLineBytes];
  const ptrdiff_t stride = band.sourceStride;
  const int wholeColumns = band.columnCount & ~3;
  ptrdiff_t first = 0;
  for (; first + kStepRows <= band.rowCount; first += kStepRows) {
    const uint8_t* const source = band.source + first * stride;
    for (int column = 0; column < wholeColumns; column += 4) {
      // A quarter of the rows of the line that these columns lie in.
      const int quarter = column & 12;
      for (int i = quarter; i < quarter + 4; ++i) {
        Prefetch(source, (kPrefetchRows + i) * stride + (column & ~15) * 4);
      }
      TurnFourColumns(
          source + column * 4, stride, [&](int which, int, typename Vector::Type words) {
            uint8_t* const last = lastStep[column + which];
            if (first == 0) {
              Vector::Store(last, words);
              rows.StoreHead(column + which, last);
              return;
            }
            const auto line = V::Join(V::Load(last), words, rows.head[column + which]);
            Vector::Store(last, words);
            Vector::Stream(rows.lines[column + which] + (first - kStepRows) * 4, masked(line));
          });
    }
  }
  if (first > 0) {
    for (int column = 0; column < wholeColumns; ++column) {
      rows.StoreTail(column, lastStep[column], first);
    }
  }
  TurnRest(band, first, 0, wholeColumns);
  TurnRest(band, 0, wholeColumns, band.columnCount);
}

/// Whether rows so far apart fall into the same few sets of a cache.
inline bool Collide(ptrdiff_t stride) { return stride % 1024 == 0; }

void Transpose(const TransposeBand& band) {
  const bool collide = Collide(band.sourceStride) ||
                       (band.columnCount > 1 && Collide(band.targetRows[1] - band.targetRows[0]));
  bool streams = band.stores == Stores::kStreaming;
  for (int column = 0; column < band.columnCount; ++column) {
    streams = streams && WordsToLine(band.targetRows[column]) >= 0;
  }
  if (!streams) return collide ? TransposeThroughStage<false, 4>(band) : TransposeDirectly(band);
  if constexpr (Vector::kWords == kLineWords) {
    if (!collide) return TransposeThroughRegisters(band);
  }
  return collide ? TransposeThroughStage<true, 4>(band) : TransposeThroughStage<true, 8>(band);
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT
