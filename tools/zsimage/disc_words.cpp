#include "disc_words.h"

#include "disc/msf.h"
#include "terminal_text.h"

const char* KindWords(::ZSTYPEPROJECT kind) {
  switch (kind) {
  case ZSTYPEPROJECT_DATA:
    return "data disc";
  case ZSTYPEPROJECT_CDAUDIO:
    return "audio CD";
  case ZSTYPEPROJECT_MIXED:
    return "mixed mode CD, audio and data";
  case ZSTYPEPROJECT_CDPLUS:
    return "CD Plus, an audio and a data session";
  case ZSTYPEPROJECT_VIDEO:
    return "Video CD (CD-Bridge)";
  case ZSTYPEPROJECT_DATAMULTISESSION:
    return "multi-session disc";
  default:
    return "unknown";
  }
}

const char* FormatWords(zsimgformat format) {
  switch (format) {
  case ZSIMAGEFORMAT_ISO:
    return "plain sector file";
  case ZSIMAGEFORMAT_CUE:
    return "CUE sheet";
  case ZSIMAGEFORMAT_NRG:
    return "Nero image";
  case ZSIMAGEFORMAT_CCD:
    return "CloneCD description";
  case ZSIMAGEFORMAT_ZSI:
    return "native TOC file";
  case ZSIMAGEFORMAT_MDS:
    return "Media Descriptor image";
  default:
    return "unknown";
  }
}

std::string ModeWords(ZSMODETYPE mode) {
  switch (mode) {
  case ZSMODE_AUDIO:
    return "audio";
  case ZSMODE_1:
    return "mode 1";
  case ZSMODE_2:
    return "mode 2";
  case ZSMODE_2_FORM2:
    return "mode 2 form 2";
  case ZSMODE_2_MIXED:
    return "mode 2 mixed";
  default:
    return Format("unknown (%d)", static_cast<int>(mode));
  }
}

std::string Duration(UHYPER sectors) {
  const auto frames = static_cast<unsigned>(sectors % kFramesPerSecond);
  const auto seconds = static_cast<unsigned>(sectors % kFramesPerMinute / kFramesPerSecond);
  return Format("%02llu:%02u:%02u", static_cast<unsigned long long>(sectors / kFramesPerMinute), seconds, frames);
}

std::string DiscTime(ULONG lba) {
  const ULONG time = LbaToMsf(static_cast<LONG>(lba));
  return time == kNoTime ? "-" : Format("%02u:%02u:%02u", MinutesOf(time), SecondsOf(time), FramesOf(time));
}
