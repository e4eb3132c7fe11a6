/// @file
/// Nero images.
#pragma once

#include <string>
#include <vector>

#include "builders/sectors.h"

enum class NrgFooter { Short, Long };

/// One entry of a "CUEX" chunk. Track 0 is the lead-in, 0xAA the lead-out.
struct NrgCue {
  unsigned control = 0; ///< In the upper four bits.
  unsigned track = 0;
  unsigned index = 0;
  LONG lba = 0;
};

/// One record of a "DAOX" chunk.
struct NrgTrack {
  unsigned mode = 7;
  ULONG size = 2352;
  std::string isrc;
};

/// One record of an "ETN2" chunk.
struct NrgPiece {
  ULONG mode = 7;
  ULONG lba = 0;
  UHYPER bytes = 0;
};

/// Builds an image: its sectors, then chunks in the order of the calls.
class NrgBuilder {
public:
  NrgBuilder& Sectors(const std::vector<BYTE>& sectors);
  NrgBuilder& Cues(const std::vector<NrgCue>& cues);
  NrgBuilder& DiscAtOnce(unsigned first, unsigned last, const std::vector<NrgTrack>& tracks,
                         const std::string& catalogue = "");
  NrgBuilder& TracksAtOnce(const std::vector<NrgPiece>& tracks);
  NrgBuilder& SessionInfo(ULONG tracks);
  NrgBuilder& Chunk(const std::string& tag, const std::vector<BYTE>& payload);

  /// Returns the offset of the first chunk.
  UHYPER BlockOffset() const { return m_sectors.size(); }
  /// Returns the image: sectors, chunks, the chunk "END!" and the footer.
  std::vector<BYTE> Build(NrgFooter footer = NrgFooter::Long) const;
  /// Returns the image with another offset of the chunks in the footer.
  std::vector<BYTE> Build(NrgFooter footer, UHYPER blockOffset) const;

private:
  std::vector<BYTE> m_sectors;
  std::vector<BYTE> m_chunks;
};

/// Returns a disc-at-once image of a disc. It begins with the 150 sectors of the pause before track 1.
std::vector<BYTE> NrgImage(const DiscPlan& disc);
