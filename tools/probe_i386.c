// Tells how this machine runs 32-bit programs, by its exit status: 0 itself, 3 through an emulator
// that translates them. Not starting at all is the third possibility.
#include "translator.h"

int main(void) { return is_translated() ? 3 : 0; }
