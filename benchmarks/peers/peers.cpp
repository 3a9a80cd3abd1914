#include "benchmarks/peers/peers.h"

namespace velbench {

std::vector<Peer> OpenPeers() {
  return {OpenPixman(), OpenGdkPixbuf(), OpenLibyuv(),
          OpenImlib2(), OpenLeptonica(), OpenSdl2Gfx()};
}

}  // namespace velbench
