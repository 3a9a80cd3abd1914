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
constexpr WordMask kUnmasked = {0xFFFFFFFF, 0};

/// Turns four columns of as many rows as a vector has words; put(c, words) gets column c of them.
/// Three-byte pixels are loaded with the four bytes in front of them where kSkip says so, else with
/// the four behind them.
template <PixelPath kPath, int kSkip, class Put>
inline void TurnFour(const uint8_t* source, ptrdiff_t stride, const Pixels<kPath, Vector>& pixels,
                     Put put) {
  const auto load = [stride](const uint8_t* row) {
    const auto loaded = Vector::LoadRows(row - kSkip, 4 * stride);
    if constexpr (SourceBytes(kPath) == 3) return Vector::template WidenLanes<kSkip>(loaded);
    return loaded;
  };
  const auto row0 = load(source);
  const auto row1 = load(source + stride);
  const auto low01 = Vector::Low32(row0, row1);
  const auto high01 = Vector::High32(row0, row1);
  const auto row2 = load(source + 2 * stride);
  const auto row3 = load(source + 3 * stride);
  const auto low23 = Vector::Low32(row2, row3);
  const auto high23 = Vector::High32(row2, row3);
  put(0, pixels.Changed(Vector::Low64(low01, low23)));
  put(1, pixels.Changed(Vector::High64(low01, low23)));
  put(2, pixels.Changed(Vector::Low64(high01, high23)));
  put(3, pixels.Changed(Vector::High64(high01, high23)));
}

/// The columns of a band that are turned by fours; `source` is the first pixel of the rows.
template <PixelPath kPath, class Put>
inline void TurnFourColumns(const uint8_t* source, ptrdiff_t stride, int column,
                            const Pixels<kPath, Vector>& pixels, Put put) {
  const uint8_t* const first = source + column * SourceBytes(kPath);
  if constexpr (SourceBytes(kPath) == 3) {
    if (column > 0) return TurnFour<kPath, 4>(first, stride, pixels, put);
  }
  TurnFour<kPath, 0>(first, stride, pixels, put);
}

/// Asks for a part of a step that lies ahead: of the line that four columns lie in, a quarter of
/// the rows. `source` is the first pixel of that step's rows, which need not exist.
template <PixelPath kPath>
inline void PrefetchStep(const uint8_t* source, ptrdiff_t stride, int column) {
  constexpr int kWithinLine = kLineWords - 1;
  source += (column & kWithinLine) * stride + (column & ~kWithinLine) * SourceBytes(kPath);
  Prefetch(source, 0);
  Prefetch(source, stride);
  Prefetch(source, 2 * stride);
  Prefetch(source, 3 * stride);
}

/// Three-byte pixels need something behind the first four.
template <PixelPath kPath>
inline int WholeColumns(const TransposeBand& band) {
  return SourceBytes(kPath) == 3 && band.columnCount < 6 ? 0 : band.columnCount & ~3;
}

/// Rows `firstRow` and on of columns `column` to endColumn − 1, pixel by pixel.
template <PixelPath kPath>
inline void TurnRest(const TransposeBand& band, ptrdiff_t firstRow, int column, int endColumn) {
  for (; column < endColumn; ++column) {
    for (ptrdiff_t row = firstRow; row < band.rowCount; ++row) {
      MovePixel<kPath>(band.targetRows[column] + row * TargetBytes(kPath),
                       band.source + row * band.sourceStride + column * SourceBytes(kPath),
                       band.mask);
    }
  }
}

/// Every step straight to the target rows, through the cache.
template <PixelPath kPath>
void TransposeDirectly(const TransposeBand& band) {
  constexpr ptrdiff_t kSourceRowsAhead = kStepRows;
  constexpr ptrdiff_t kTargetBytesAhead = 2 * kStepRows * TargetBytes(kPath);
  const Pixels<kPath, Vector> pixels(band.mask);
  const ptrdiff_t stride = band.sourceStride;
  const int wholeColumns = WholeColumns<kPath>(band);
  ptrdiff_t first = 0;
  for (; first + kStepRows <= band.rowCount; first += kStepRows) {
    const uint8_t* const source = band.source + first * stride;
    for (int column = 0; column < wholeColumns; column += 4) {
      PrefetchStep<kPath>(source + kSourceRowsAhead * stride, stride, column);
      for (int row = 0; row < kStepRows; row += Vector::kWords) {
        TurnFourColumns(source + row * stride, stride, column, pixels,
                        [&](int which, typename Vector::Type words) {
                          uint8_t* const to =
                              band.targetRows[column + which] + (first + row) * TargetBytes(kPath);
                          if (row == 0) Prefetch(to, kTargetBytesAhead);
                          pixels.Store(to, words);
                        });
      }
    }
  }
  TurnRest<kPath>(band, first, 0, wholeColumns);
  TurnRest<kPath>(band, 0, wholeColumns, band.columnCount);
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
    StoreFew<kWordToWord>(band.targetRows[column], words, head[column] / 4);
  }

  /// The words behind the last line that ends within the first `end` words of a row, up to word
  /// `end`; `words` are the last sixteen of them.
  template <PixelPath kFromWord>
  void StoreTail(int column, const uint8_t* words, ptrdiff_t end) const {
    StoreFew<kFromWord>(lines[column] + (end - kLineWords) * TargetBytes(kFromWord),
                        words + head[column], (kLineBytes - head[column]) / 4);
  }

  template <PixelPath kFromWord>
  static void StoreFew(uint8_t* to, const uint8_t* words, ptrdiff_t count) {
    PixelMove<kFromWord, false>{to, words}.Few(count, kUnmasked);
  }

  const TransposeBand& band;
  /// Bytes in front of the first whole line of each target row.
  ptrdiff_t head[TransposeBand::kMaxColumns];
  uint8_t* lines[TransposeBand::kMaxColumns];
};

/// The columns of a step, a line of source pixels at a time; put(c, r, words) gets words r and on
/// of column c. Of rows that collide, no more lines are in use at once than a vector has rows: a
/// set of the cache does not hold all sixteen.
template <PixelPath kPath, class Put>
inline void TurnStep(const uint8_t* source, ptrdiff_t stride, int columnCount,
                     const Pixels<kPath, Vector>& pixels, Put put) {
  for (int first = 0; first < columnCount; first += kLineWords) {
    const int end = columnCount - first < kLineWords ? columnCount : first + kLineWords;
    for (int row = 0; row < kStepRows; row += Vector::kWords) {
      for (int column = first; column < end; column += 4) {
        TurnFourColumns(
            source + row * stride, stride, column, pixels,
            [&](int which, typename Vector::Type words) { put(column + which, row, words); });
      }
    }
  }
}

// As many lines in a target row as in a source row: memory, too, has pages that it opens slowly.
constexpr int kStageColumns = 128;
constexpr int kMaxSteps = 8;

/// Gathers a few steps of up to kStageColumns columns, so that several lines at a stretch go to
/// each target row. Best where rows collide in the caches and in memory.
template <PixelPath kPath, bool kStream>
void TransposeThroughStage(const TransposeBand& band) {
  constexpr PixelPath kToWord = kPath == kWordToRgb  ? kWordToWord
                                : kPath == kRgbToRgb ? kRgbToWord
                                                     : kPath;
  constexpr PixelPath kFromWord = TargetBytes(kPath) == 3 ? kWordToRgb : kWordToWord;
  constexpr ptrdiff_t kTargetLineBytes = kLineWords * TargetBytes(kPath);
  const LineRows rows(band, kStream);
  const Pixels<kPath, Vector> pixels(band.mask);
  // Of each column, the last step of the block before, and then the steps of this block.
  alignas(64) uint8_t stage[kStageColumns][(1 + kMaxSteps) * kLineBytes];
  const int wholeColumns = WholeColumns<kPath>(band);
  const ptrdiff_t stepCount = band.rowCount / kStepRows;
  const ptrdiff_t linesPerRow =
      (band.columnCount * SourceBytes(kPath) + kLineBytes - 1) / kLineBytes;

  for (ptrdiff_t firstStep = 0; firstStep < stepCount;) {
    const ptrdiff_t steps = stepCount - firstStep < kMaxSteps ? stepCount - firstStep : kMaxSteps;
    const uint8_t* source = band.source + firstStep * kStepRows * band.sourceStride;
    for (ptrdiff_t step = 1; step <= steps; ++step) {
      TurnStep(source, band.sourceStride, wholeColumns, pixels,
               [&](int column, int row, typename Vector::Type words) {
                 Vector::Store(stage[column] + step * kLineBytes + row * 4, words);
               });
      for (int column = wholeColumns; column < band.columnCount; ++column) {
        for (ptrdiff_t row = 0; row < kStepRows; ++row) {
          MovePixel<kToWord>(stage[column] + step * kLineBytes + row * 4,
                             source + row * band.sourceStride + column * SourceBytes(kPath),
                             band.mask);
        }
      }
      source += kStepRows * band.sourceStride;
    }
    // While the lines go out, the next block comes in.
    ptrdiff_t aheadRow = 0;
    ptrdiff_t aheadLine = 0;
    const bool more = firstStep + steps < stepCount;
    for (int column = 0; column < band.columnCount; ++column) {
      const uint8_t* line = stage[column] + rows.head[column];
      uint8_t* to = rows.lines[column] + (firstStep - 1) * kTargetLineBytes;
      ptrdiff_t step = 0;
      if (firstStep == 0) {
        rows.StoreHead(column, stage[column] + kLineBytes);
        step = 1;
        line += kLineBytes;
        to += kTargetLineBytes;
      }
      for (; step < steps; ++step, line += kLineBytes, to += kTargetLineBytes) {
        for (ptrdiff_t i = 0; i < kLineWords; i += Vector::kWords) {
          const auto words = Vector::Load(line + i * 4);
          if constexpr (kStream) {
            Vector::Stream(to + i * 4, words);
          } else {
            pixels.Store(to + i * TargetBytes(kPath), words);
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
      rows.StoreTail<kFromWord>(column, stage[column], stepCount * kStepRows);
    }
  }
  TurnRest<kPath>(band, stepCount * kStepRows, 0, band.columnCount);
}

/// Joins each step with the step before in registers, and streams a line at a time. Best where a
/// vector is a whole line and rows do not collide.
template <PixelPath kPath, class V = Vector>
void TransposeThroughRegisters(const TransposeBand& band) {
  constexpr ptrdiff_t kSourceRowsAhead = 2 * kStepRows;
  const LineRows rows(band, true);
  const Pixels<kPath, Vector> pixels(band.mask);
  alignas(64) uint8_t lastStep[TransposeBand::kMaxColumns][kLineBytes];
  const ptrdiff_t stride = band.sourceStride;
  const int wholeColumns = WholeColumns<kPath>(band);
  ptrdiff_t first = 0;
  for (; first + kStepRows <= band.rowCount; first += kStepRows) {
    const uint8_t* const source = band.source + first * stride;
    for (int column = 0; column < wholeColumns; column += 4) {
      PrefetchStep<kPath>(source + kSourceRowsAhead * stride, stride, column);
      TurnFourColumns(source, stride, column, pixels, [&](int which, typename Vector::Type words) {
        uint8_t* const last = lastStep[column + which];
        if (first == 0) {
          Vector::Store(last, words);
          rows.StoreHead(column + which, last);
          return;
        }
        const auto line = V::Join(V::Load(last), words, rows.head[column + which]);
        Vector::Store(last, words);
        Vector::Stream(rows.lines[column + which] + (first - kStepRows) * 4, line);
      });
    }
  }
  if (first > 0) {
    for (int column = 0; column < wholeColumns; ++column) {
      rows.StoreTail<kWordToWord>(column, lastStep[column], first);
    }
  }
  TurnRest<kPath>(band, first, 0, wholeColumns);
  TurnRest<kPath>(band, 0, wholeColumns, band.columnCount);
}

/// Hands the band on in parts of at most kColumns columns.
template <PixelPath kPath, int kColumns, class Turn>
inline void TurnParts(const TransposeBand& band, Turn turn) {
  TransposeBand part = band;
  for (int done = 0; done < band.columnCount; done += kColumns) {
    part.columnCount = band.columnCount - done < kColumns ? band.columnCount - done : kColumns;
    turn(part);
    part.source += kColumns * SourceBytes(kPath);
    part.targetRows += kColumns;
  }
}

template <PixelPath kPath>
void Transpose(const TransposeBand& band) {
  // So far apart, rows fall into the same few sets of a cache, where no line lasts until its next
  // step. Of the source's rows, few enough are worked on at a time.
  const bool collide =
      band.columnCount > 1 && (band.targetRows[1] - band.targetRows[0]) % 1024 == 0;
  // Through the cache, few enough columns that the lines written last are still in its first level
  // when the next step comes. What is too large to be in any is read in longer pieces.
  constexpr int kCachedColumns = 128;
  constexpr int kUncachedColumns = 256;
  if constexpr (TargetBytes(kPath) == 4) {
    bool streams = band.stores == Stores::kStreaming;
    for (int column = 0; column < band.columnCount; ++column) {
      streams = streams && WordsToLine(band.targetRows[column]) >= 0;
    }
    if (streams) {
      if constexpr (Vector::kWords == kLineWords) {
        if (!collide) return TransposeThroughRegisters<kPath>(band);
      }
      return TurnParts<kPath, kStageColumns>(band, TransposeThroughStage<kPath, true>);
    }
  }
  if (collide) {
    return TurnParts<kPath, kStageColumns>(band, TransposeThroughStage<kPath, false>);
  }
  if (band.stores == Stores::kStreaming) {
    return TurnParts<kPath, kUncachedColumns>(band, TransposeDirectly<kPath>);
  }
  TurnParts<kPath, kCachedColumns>(band, TransposeDirectly<kPath>);
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT
