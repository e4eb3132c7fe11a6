#include "commands.h"
#include "disc_check.h"
#include "files.h"
#include "record_json.h"
#include "text_table.h"

namespace {

Json FindingsToJson(const Findings& findings) {
  Json list = Json::array();
  for (const Finding& finding : findings) {
    list.push_back({{"kind", finding.kind}, {"fault", finding.isFault}, {"words", finding.words}});
  }
  return list;
}

void PrintReportJson(const std::string& path, const DiscReport& report, bool isLine) {
  const Json frame = {{"image", TerminalText(path)},
                      {"good", report.Faults() == 0},
                      {"findings", FindingsToJson(report.findings)},
                      {"tracks", Json::array()}};
  PrintJson(frame, isLine, "tracks", [&](unsigned /*array*/, const JsonSink& sink) {
    for (const TrackReport& track : report.tracks) {
      sink({{"session", track.session},
            {"track", track.number},
            {"mode", track.mode},
            {"sectors", track.sectors},
            {"looked", track.looked},
            {"good", FaultsIn(track.findings) == 0},
            {"findings", FindingsToJson(track.findings)}});
    }
  });
}

TextTable::Cell Verdict(bool isGood) {
  return isGood ? TextTable::Cell("good", Colour::Green) : TextTable::Cell("faulty", Colour::Red);
}

void AddFindings(const std::string& where, const Findings& findings, std::string* page) {
  for (const Finding& finding : findings) {
    const std::string kind = finding.isFault ? Coloured("fault", Colour::Red) : Coloured("note", Colour::Yellow);
    page->append("  ").append(kind).append(finding.isFault ? "  " : "   ");
    page->append(where).append(": ").append(finding.words).append("\n");
  }
}

/// How much was looked at, and how to look at all.
std::string Extent(const DiscReport& report) {
  UHYPER looked = 0;
  UHYPER all = 0;
  for (const TrackReport& track : report.tracks) {
    looked += track.looked;
    all += track.canBeLookedAt ? track.sectors : 0;
  }
  const auto count = static_cast<unsigned long long>(looked);
  if (all == 0) {
    return "its sectors hold no codes to look at";
  }
  return looked >= all ? Format("%llu sectors looked at", count)
                       : Format("%llu of %llu sectors looked at; --full looks at all", count,
                                static_cast<unsigned long long>(all));
}

void PrintReport(const std::string& path, const DiscReport& report) {
  using enum TextTable::Align;
  TextTable table;
  table.AddColumn("Session", Right, true);
  table.AddColumn("Track", Right, true);
  table.AddColumn("Mode", Left, true);
  table.AddColumn("Sectors", Right, true);
  table.AddColumn("Looked at", Right, true);
  table.AddColumn("Verdict", Left, true);
  std::string findings;
  AddFindings("disc", report.findings, &findings);
  for (const TrackReport& track : report.tracks) {
    AddFindings(Format("session %u, track %u", track.session, track.number), track.findings, &findings);
  }
  const std::size_t faults = report.Faults();
  const std::string verdict = faults == 0
                                  ? Coloured("good", Colour::Green)
                                  : Coloured(Format("%zu fault%s", faults, faults == 1 ? "" : "s"), Colour::Red);
  Print(Coloured(TerminalText(path), Colour::Bold) + ": " + verdict + ", " + Extent(report) + "\n" + findings + "\n");
  table.Print([&](const TextTable::RowSink& sink) {
    for (const TrackReport& track : report.tracks) {
      sink({Format("%u", track.session), Format("%u", track.number), track.mode, Format("%u", track.sectors),
            track.canBeLookedAt ? Format("%u", track.looked) : "-", Verdict(FaultsIn(track.findings) == 0)});
    }
  });
}

int CheckImage(const Host& host, const std::string& path, const CheckOptions& options) {
  const ImageRecord image(host, path);
  const DiscReport report = CheckDisc(host, image, options.full);
  if (options.json) {
    PrintReportJson(path, report, options.paths.size() > 1);
  } else {
    Print(&path == &options.paths.front() ? "" : "\n");
    PrintReport(path, report);
  }
  return report.Faults() == 0 ? 0 : kExitFailure;
}

} // namespace

int RunCheck(const CheckOptions& options) {
  const Host host;
  return ForEachImage(options.paths, options.json,
                      [&](const std::string& path) { return CheckImage(host, path, options); });
}
