#include "builders/ccd_builder.h"

#include <cstdio>
#include <sstream>

namespace {

constexpr std::size_t kPackBytes = 18;
constexpr std::size_t kPackBytesInText = 16;

int ModeOf(ZSMODETYPE mode) { return mode == ZSMODE_AUDIO ? 0 : mode == ZSMODE_1 ? 1 : 2; }

std::string Hex(unsigned number) {
  char text[16];
  std::snprintf(text, sizeof text, "%02x", number);
  return text;
}

/// Writes the entries of the table of contents, numbered through all sessions.
class EntryWriter {
public:
  explicit EntryWriter(std::ostream* text) : m_text(text) {}
  void Write(unsigned session, unsigned point, ULONG lba) {
    *m_text << "[Entry " << m_count++ << "]\r\nSession=" << session << "\r\nPoint=0x" << Hex(point)
            << "\r\nPLBA=" << lba << "\r\n";
  }

private:
  std::ostream* m_text;
  int m_count = 0;
};

ULONG LeadOutOf(const std::vector<PlacedTrack>& tracks, UINT session) {
  ULONG end = 0;
  for (const PlacedTrack& track : tracks) {
    end = track.session == session ? track.end : end;
  }
  return end;
}

struct KeyOffsets {
  std::size_t line = std::string::npos; ///< Start of the key's line; npos if the key is missing.
  std::size_t section = 0;              ///< Start of the section's first line.
};

KeyOffsets FindKey(const std::string& text, const std::string& section, const std::string& key) {
  KeyOffsets offsets;
  offsets.section = text.find("[" + section + "]\r\n") + section.size() + 4;
  const std::size_t found = text.find("\n" + key + "=", offsets.section - 1);
  if (found < text.find('[', offsets.section)) {
    offsets.line = found + 1;
  }
  return offsets;
}

} // namespace

std::string CcdText(const DiscPlan& disc) {
  const std::vector<PlacedTrack> tracks = PlaceTracks(disc);
  std::ostringstream text;
  text << "[CloneCD]\r\nVersion=3\r\n[Disc]\r\nTocEntries=" << tracks.size() + 3 * disc.sessions.size()
       << "\r\nSessions=" << disc.sessions.size() << "\r\nCDTextLength=0\r\n";
  EntryWriter entries(&text);
  for (const PlacedTrack& track : tracks) {
    if (&track == tracks.data() || (&track)[-1].session != track.session) {
      entries.Write(track.session + 1, 0xA0, 0);
      entries.Write(track.session + 1, 0xA1, 0);
      entries.Write(track.session + 1, 0xA2, LeadOutOf(tracks, track.session));
    }
    entries.Write(track.session + 1, track.number, track.start);
  }
  for (const PlacedTrack& track : tracks) {
    text << "[TRACK " << track.number << "]\r\nMODE=" << ModeOf(track.mode) << "\r\n";
    if (track.pregap != 0) {
      text << "INDEX 0=" << track.start - track.pregap << "\r\n";
    }
    text << "INDEX 1=" << track.start << "\r\n";
  }
  return text.str();
}

std::string WithValue(const std::string& text, const std::string& section, const std::string& key,
                      const std::string& value) {
  std::string changed = WithoutKey(text, section, key);
  return changed.insert(FindKey(changed, section, key).section, key + "=" + value + "\r\n");
}

std::string WithoutKey(const std::string& text, const std::string& section, const std::string& key) {
  std::string changed = text;
  const KeyOffsets offsets = FindKey(text, section, key);
  if (offsets.line != std::string::npos) {
    changed.erase(offsets.line, text.find('\n', offsets.line) + 1 - offsets.line);
  }
  return changed;
}

std::string WithPacks(const std::string& text, const std::vector<BYTE>& packs) {
  std::ostringstream section;
  section << "[CDText]\r\nEntries=" << packs.size() / kPackBytes << "\r\n";
  for (std::size_t start = 0; start + kPackBytes <= packs.size(); start += kPackBytes) {
    section << "Entry " << start / kPackBytes << "=";
    for (std::size_t i = 0; i < kPackBytesInText; ++i) {
      section << (i == 0 ? "" : " ") << Hex(packs[start + i]);
    }
    section << "\r\n";
  }
  return WithValue(text, "Disc", "CDTextLength", std::to_string(packs.size())) + section.str();
}
