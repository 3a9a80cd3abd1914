#pragma once

// What a host can do from which version on: the only thresholds there are. A version that the host
// did not report is 0.0, older than all of them; a NaN is neither below nor at least any of them,
// so each says what it makes of one.

#include "host/resolver.h"

namespace velpicture {

/// The host knows the console bits of a flags word. So does a NaN.
inline bool KnowsConsoleFlags() { return !(rbversion_rbversion < 2010.029); }

/// The host parses colour literals with an alpha byte. So does a NaN.
inline bool ParsesColorAlpha() { return !(rbversion_rbversion < 2011.04); }

/// The host makes pictures with alpha channel. A NaN does not.
inline bool MakesAlphaPictures() { return rbversion_rbversion >= 2011.04; }

/// Drawing goes by the method of a Graphics alone; before, the host may have had an entry for it. A
/// NaN counts as new.
inline bool DrawsByMethodOnly() { return !(rbversion_rbversion < 2012.0); }

/// A failed lock of a picture's description leaves nothing to give back. A NaN counts as new.
inline bool FailedLocksHoldNothing() { return !(rbversion_rbversion < 2012.0); }

/// String bytes are borrowed through REALGetStringData; before, and for a NaN, the host's own
/// layout of a string is read.
inline bool BorrowsStringData() { return rbversion_rbversion >= 2012.0; }

}  // namespace velpicture
