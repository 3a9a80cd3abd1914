// The editor record: format tables, pixel access in every format, rows and the row cursor, closing.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "tests/pixels/picture_functions.h"

namespace {

TEST(Editor, FormatTablesAnswerForEveryCode) {
  const PixelSession session;
  const char* const kNames[] = {"GetBytesPerPixel", "GetRedOffset", "GetGreenOffset",
                                "GetBlueOffset"};
  // Bytes per pixel and offsets of red, green and blue, a digit each, for codes -1 to 17.
  const char* const kTables[] = {"0000", "0000", "4012", "4123", "4012", "4123", "4012",
                                 "4123", "0000", "4210", "4210", "3210", "3012", "3012",
                                 "4123", "4210", "4210", "4210", "0000"};
  for (size_t i = 0; i < std::size(kTables); ++i) {
    PictureEditor editor{};
    editor.pixelType = static_cast<uint32_t>(i) - 1;
    std::string digits;
    for (const char* name : kNames) {
      digits += std::to_string(session.Call<int(PictureEditor&)>(name, editor));
    }
    EXPECT_EQ(digits, kTables[i]) << "code " << editor.pixelType;
  }
}

struct FormatCase {
  uint32_t format;
  int bytes;
  /// A stored pixel (a word, or three bytes), and what it reads as.
  uint32_t stored;
  velpicture::Rgba read;
  /// What writing {0x12, 0x34, 0x56, 0x81} stores.
  uint32_t written;
};

TEST(Editor, PixelsAreReadAndWrittenAsEachFormatKeepsThem) {
  PixelSession session;
  const FormatCase kCases[] = {
      {kPixelConsole, 4, 0x81C0D0E0, {0xC0, 0xD0, 0xE0, 3}, 0x40123456},  // bit 31 does not count
      {kPixelConsole, 4, 0x00C0D0E0, {0xC0, 0xD0, 0xE0, 0}, 0x40123456},
      {kPixelConsole, 4, 0xFFC0D0E0, {0xC0, 0xD0, 0xE0, 255}, 0x40123456},
      {kPixelConsole, 4, 0x40C0D0E0, {0xC0, 0xD0, 0xE0, 128}, 0x40123456},
      {kPixelConsole, 4, 0x3FC0D0E0, {0xC0, 0xD0, 0xE0, 127}, 0x40123456},
      {kPixelRgb24, 3, 0xE0D0C0, {0xC0, 0xD0, 0xE0, 255}, 0x563412},
      {kPixelArgb32, 4, 0x01C0D0E0, {0xC0, 0xD0, 0xE0, 1}, 0x81123456},
      {kPixelRgb32, 4, 0x01C0D0E0, {0xC0, 0xD0, 0xE0, 255}, 0xFF123456},
      {9, 4, 0x01C0D0E0, {0, 0, 0, 0}, 0x01C0D0E0},
      {16, 4, 0x01C0D0E0, {0, 0, 0, 0}, 0x01C0D0E0},
      {static_cast<uint32_t>(-1), 4, 0x01C0D0E0, {0, 0, 0, 0}, 0x01C0D0E0},
  };
  for (const FormatCase& each : kCases) {
    SCOPED_TRACE(each.format);
    // Rows of two pixels, upside down in memory where a table can say so.
    uint8_t memory[2 * 16];
    std::memset(memory, 0xE7, sizeof memory);
    uint8_t* rows[2] = {memory + 17, memory + 1};
    const bool isConsole = each.format == kPixelConsole;
    if (!isConsole) std::swap(rows[0], rows[1]);
    PictureEditor editor{};
    editor.rowBytes = 16, editor.width = 2, editor.height = 2, editor.bytesPerPixel = each.bytes;
    editor.pixelType = each.format;
    editor.baseAddress = editor.pixels = rows[0];
    editor.rowTable = isConsole ? rows : nullptr;
    const auto size = static_cast<size_t>(each.bytes);
    uint8_t* const pixel = rows[1] + size;
    std::memcpy(pixel, &each.stored, size);
    // Each access moves the row cursor.
    const auto moveCursor = [&](auto access) {
      editor.accessX = 9, editor.accessY = 0;
      access();
      EXPECT_EQ(std::pair(editor.accessX, editor.accessY), std::pair(0, 1));
    };
    const auto expectRead = [&](PictureEditor& from, int y) {
      const velpicture::Rgba read = session.Get(from, 1, y);
      EXPECT_EQ(std::memcmp(&read, &each.read, sizeof read), 0);
      EXPECT_EQ(from.baseAddress, from.pixels);
    };
    // Below the last row lies the first.
    PictureEditor last = editor;
    last.height = 1;
    last.baseAddress = last.pixels = rows[1];
    last.rowTable = isConsole ? &rows[1] : nullptr;
    for (const int y : {0, 1}) expectRead(last, y);

    moveCursor([&] { expectRead(editor, 1); });
    moveCursor([&] {
      session.Call<void(PictureEditor&, int, int, int, int, int, int)>("SetPixel", editor, 1, 1,
                                                                       0x12, 0x34, 0x56, 0x81);
    });
    EXPECT_EQ(std::memcmp(pixel, &each.written, size), 0);
    std::memset(pixel, 0xE7, size);
    EXPECT_EQ(std::count(memory, memory + sizeof memory, 0xE7), 32)
        << "a byte beside it was written";

    for (const int y : {0, 1, 2}) {
      EXPECT_EQ(session.Call<uint8_t*(const PictureEditor&, int)>("RowAddress", editor, y),
                rows[y % 2]);
    }
    moveCursor([&] { session.Call<void(PictureEditor&)>("NextRow", editor); });
    EXPECT_EQ(editor.baseAddress, rows[1]);
    session.Call<void(PictureEditor&)>("NextRow", editor);
    EXPECT_EQ(std::tuple(editor.baseAddress, editor.accessY), std::tuple(rows[0], 2));
    EXPECT_EQ(editor.pixels, rows[0]);
  }
}

TEST(Editor, ClosesInOrderAndOnlyOnce) {
  PixelSession session;
  const auto picture = session.host.MakePicture(sim::Image(2, 2));
  for (const char* name : {"ClosePictureReader", "ClosePictureEditor", "FreePictureWriter"}) {
    const auto close = [&](auto& editor) { session.Call<void(PictureEditor&)>(name, editor); };
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

  // A pixbuf is released once, and simply forgotten while nobody can release it.
  static std::vector<void*> released;
  for (const bool known : {false, true}) {
    Variable<void (*)(void*)>(session.plugin, "_gdk_pixbuf_unref") =
        known ? +[](void* pixbuf) {
          released.push_back(pixbuf);
          EXPECT_EQ(sim::Host::Current().log.CallCount(), 0) << "before all else";
        } : nullptr;
    PictureEditor editor;
    ASSERT_TRUE(session.Read(editor, picture->handle()));
    editor.pixbuf = &editor;
    session.Steps();
    for (int i = 0; i < 2; ++i) session.Close(editor);
    EXPECT_EQ(released, std::vector<void*>(known ? 1 : 0, &editor));
    EXPECT_EQ(editor.pixbuf, nullptr);
  }
}

}  // namespace
