# The mutants: what each breaks, and the tests that must notice ("corpus": the kept fuzz inputs,
# "check": that case of velhost --check).

mutant(lost_reference
  FILE pixels/picture_writers.cpp
  FROM [[AddReference(editor.picture) ||]]
  TO [[editor.picture != nullptr ||]]
  TESTS "check MirrorVel/console/2012.01/5x3")

mutant(missing_unlock
  FILE pixels/picture_editor.cpp
  FROM [[  REALUnlockPictureDescription(reference.get());]]
  TO ""
  TESTS "check MirrorVel/console/2012.01/5x3")

mutant(leaking_writer
  FILE pixels/picture_editor.cpp
  FROM [[  std::free(editor.ownedBuffer);]]
  TO ""
  TESTS WritersTest.OwnBuffers*)

mutant(lost_alpha
  FILE pixels/picture_reader.cpp
  FROM [[editor.hasAlpha = PictureHasAlphaChannel(picture);]]
  TO [[editor.hasAlpha = PictureHasAlphaChannel(picture) && false;]]
  TESTS Storages/Methods.DoWhatTheModelDoesAtEveryVersion/console_alpha)

mutant(row_too_long
  FILE transforms/pixel_moves.cpp
  FROM [[row.count = source.width;]]
  TO [[row.count = source.width + 1;]]
  TESTS "check MirrorVel/web/2012.01/5x3")

mutant(unmirrored_middle_row
  FILE transforms/pixel_moves.cpp
  FROM [[if (picture.height % 2 == 0) return;]]
  TO [[if (picture.height % 2 != 0) return;]]
  TESTS Storages/Methods.DoWhatTheModelDoesAtEveryVersion/console)

mutant(shear_off_by_one
  FILE transforms/rotate.cpp
  FROM [[return {static_cast<int>(whole), offset - whole, 0};]]
  TO [[return {static_cast<int>(whole) + 1, offset - whole, 0};]]
  TESTS Storages/Methods.RotateRandomPicturesByRandomAngles/console)

# Pixels that fall off the row's front still blend into the first one that stays.
mutant(forgotten_carry
  FILE transforms/kernels/plain.cpp
  FROM [[Rgba previous = load(-1 - int64_t{row.offset});]]
  TO [[Rgba previous = background;]]
  TESTS corpus)

# The page that a picture's first pixels share with whatever lies before them is not the picture's.
mutant(first_page_of_others
  FILE pixels/fresh_memory.cpp
  FROM [[{RoundUp(memory.begin, kPageBytes), memory]]
  TO [[{memory.begin & ~(kPageBytes - 1), memory]]
  TESTS Storages/FreshMemory.IsAskedForWhereItIsMissing/console)
