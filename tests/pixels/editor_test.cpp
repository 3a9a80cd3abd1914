// The editor record: format tables, pixel access in every format, rows and the row cursor, closing.

#include <gtest/gtest.h>

#include <cstring>

#include "tests/pixels/picture_functions.h"

namespace {

TEST(Editor, FormatTablesAnswerForEveryCode) {
  PixelSession session;
  // Bytes per pixel and offsets of red, green and blue, a digit each, for codes 0 to 16.
  const char* const kTables[] = {"0000", "4012", "4123", "4012", "4123", "4012",
                                 "4123", "0000", "4210", "4210", "3210", "3012",
                                 "3012", "4123", "4210", "4210", "4210"};
  const char* const kNames[] = {"GetBytesPerPixel", "GetRedOffset", "GetGreenOffset",
                                "GetBlueOffset"};
  for (const int code :
       {-1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 1 << 30}) {
    PictureEditor editor{};
    editor.pixelType = static_cast<uint32_t>(code);
    for (int i = 0; i < 4; ++i) {
      const int expected = code < 0 || code > 16 ? 0 : kTables[code][i] - '0';
      EXPECT_EQ(Function<int(PictureEditor&)>(session.plugin, kNames[i])(editor), expected)
          << kNames[i] << " of " << code;
    }
  }
}

struct FormatCase {
  uint32_t type;
  int bytes;
  /// A stored pixel (a word, or three bytes), and what it reads as.
  uint32_t stored;
  velpicture::Rgba read;
  /// What writing {0x12, 0x34, 0x56, 0x81} stores.
  uint32_t written;
};

TEST(Editor, PixelsAreReadAndWrittenAsEachFormatKeepsThem) {
  PixelSession session;
  const auto set =
      Function<void(PictureEditor&, int, int, int, int, int, int)>(session.plugin, "SetPixel");
  const FormatCase kCases[] = {
      {8, 4, 0x81C0D0E0, {0xC0, 0xD0, 0xE0, 3}, 0x40123456},  // bit 31 does not count
      {8, 4, 0x00C0D0E0, {0xC0, 0xD0, 0xE0, 0}, 0x40123456},
      {8, 4, 0xFFC0D0E0, {0xC0, 0xD0, 0xE0, 255}, 0x40123456},
      {8, 4, 0x40C0D0E0, {0xC0, 0xD0, 0xE0, 128}, 0x40123456},
      {8, 4, 0x3FC0D0E0, {0xC0, 0xD0, 0xE0, 127}, 0x40123456},
      {11, 3, 0xE0D0C0, {0xC0, 0xD0, 0xE0, 255}, 0x563412},
      {14, 4, 0x01C0D0E0, {0xC0, 0xD0, 0xE0, 1}, 0x81123456},
      {15, 4, 0x01C0D0E0, {0xC0, 0xD0, 0xE0, 255}, 0xFF123456},
      {9, 4, 0x01C0D0E0, {0, 0, 0, 0}, 0x01C0D0E0},
      {16, 4, 0x01C0D0E0, {0, 0, 0, 0}, 0x01C0D0E0},
      {static_cast<uint32_t>(-1), 4, 0x01C0D0E0, {0, 0, 0, 0}, 0x01C0D0E0},
  };
  for (const FormatCase& each : kCases) {
    SCOPED_TRACE(each.type);
    // Rows of two pixels, upside down in memory where a table can say so.
    uint8_t memory[2][16];
    std::memset(memory, 0xE7, sizeof memory);
    uint8_t* rows[2] = {memory[1] + 1, memory[0] + 1};
    const bool isConsole = each.type == 8;
    PictureEditor editor{};
    editor.rowBytes = 16, editor.width = 2, editor.height = 2, editor.bytesPerPixel = each.bytes;
    editor.pixelType = each.type;
    editor.baseAddress = editor.pixels = isConsole ? rows[0] : memory[0] + 1;
    editor.rowTable = isConsole ? rows : nullptr;
    editor.accessX = 9;
    uint8_t* const pixel = (isConsole ? rows[1] : memory[1] + 1) + each.bytes;
    const auto size = static_cast<size_t>(each.bytes);
    std::memcpy(pixel, &each.stored, size);

    const velpicture::Rgba read = session.Get(editor, 1, 1);
    EXPECT_EQ(std::tie(read.red, read.green, read.blue, read.alpha),
              std::tie(each.read.red, each.read.green, each.read.blue, each.read.alpha));
    EXPECT_EQ(std::pair(editor.accessX, editor.accessY), std::pair(0, 1));
    editor.accessX = 9, editor.accessY = 0;
    set(editor, 1, 1, 0x12, 0x34, 0x56, 0x81);
    EXPECT_EQ(std::pair(editor.accessX, editor.accessY), std::pair(0, 1));
    EXPECT_EQ(std::memcmp(pixel, &each.written, size), 0);
    std::memset(pixel, 0xE7, size);
    for (const auto& row : memory) {
      for (const uint8_t byte : row) EXPECT_EQ(byte, 0xE7) << "a byte beside the pixel was written";
    }

    const auto rowAddress =
        Function<uint8_t*(const PictureEditor&, int)>(session.plugin, "RowAddress");
    const auto next = Function<void(PictureEditor&)>(session.plugin, "NextRow");
    EXPECT_EQ(rowAddress(editor, 0), editor.pixels);
    EXPECT_EQ(rowAddress(editor, 1), pixel - each.bytes);
    EXPECT_EQ(rowAddress(editor, 2), editor.pixels);
    uint8_t* const first = editor.pixels;
    editor.accessX = 9, editor.accessY = 0;
    next(editor);
    EXPECT_EQ(editor.baseAddress, pixel - each.bytes);
    EXPECT_EQ(std::pair(editor.accessX, editor.accessY), std::pair(0, 1));
    next(editor);
    EXPECT_EQ(editor.baseAddress, first);
    EXPECT_EQ(editor.accessY, 2);
    EXPECT_EQ(editor.pixels, first);
  }
}

TEST(Editor, ClosesInOrderAndOnlyOnce) {
  PixelSession session;
  const auto picture = session.host.MakePicture(sim::Image(2, 2));
  for (const char* name : {"ClosePictureReader", "ClosePictureEditor", "FreePictureWriter"}) {
    const auto close = Function<void(PictureEditor&)>(session.plugin, name);
    for (const bool writable : {false, true}) {
      PictureEditor editor;
      ASSERT_TRUE(session.Read(editor, picture->handle(), false, writable));
      const PictureEditor before = editor;
      session.Steps();
      close(editor);
      EXPECT_EQ(session.Steps(), writable ? "unlock clear drop" : "unlock drop");
      close(editor);
      EXPECT_EQ(session.Steps(), "");
      EXPECT_EQ(editor.picture, nullptr);
      editor.picture = before.picture;
      EXPECT_EQ(std::memcmp(&editor, &before, sizeof editor), 0) << "nothing else is reset";
    }
  }

  // Pixbufs go first, and are simply forgotten while nobody can release them.
  static std::string released;
  auto& unref = Variable<void (*)(void*)>(session.plugin, "_gdk_pixbuf_unref");
  for (const bool known : {false, true}) {
    unref = nullptr;
    if (known) unref = [](void* pixbuf) { released += *static_cast<char*>(pixbuf); };
    char name = 'p';
    PictureEditor editor{};
    editor.pixbuf = &name;
    for (int i = 0; i < 2; ++i) session.Close(editor);
    EXPECT_EQ(released, known ? "p" : "");
    EXPECT_EQ(editor.pixbuf, nullptr);
  }
  EXPECT_EQ(session.host.Imbalance(), "");
}

}  // namespace
