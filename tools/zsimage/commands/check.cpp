#include <map>

#include "checks/disc_check.h"
#include "commands/commands.h"
#include "commands/record_json.h"
#include "output/standard_output.h"
#include "output/text_table.h"

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

/// The lines of the page, one for all findings with the same words.
class Remarks {
public:
  void Add(const std::string& where, const Findings& findings) {
    for (const Finding& finding : findings) {
      const auto [known, isNew] = m_known.emplace(finding.words, m_lines.size());
      if (isNew) {
        m_lines.push_back(
            {(finding.isFault ? "  " + Coloured("fault", Colour::Red) : "  " + Coloured("note", Colour::Yellow) + " ") +
                 "  " + where,
             &finding, 0});
      } else {
        ++m_lines[known->second].others;
      }
    }
  }

  std::string Render() const {
    std::string page;
    for (const auto& [where, finding, others] : m_lines) {
      page += where + (others == 0 ? "" : Format(" and %u other%s", others, others == 1 ? "" : "s"));
      page += ": " + finding->words + "\n";
    }
    return page;
  }

private:
  struct Line {
    std::string where; ///< Of the first.
    const Finding* finding;
    unsigned others;
  };

  std::vector<Line> m_lines;
  std::map<std::string, std::size_t> m_known; ///< Lines by their words.
};

/// How much was looked at, and how to look at all.
std::string Extent(const DiscReport& report) {
  UHYPER looked = 0;
  UHYPER all = 0;
  for (const TrackReport& track : report.tracks) {
    looked += track.looked;
    all += track.canBeLookedAt ? track.sectors : 0;
  }
  if (all == 0) {
    return "its sectors hold no codes to look at";
  }
  return std::to_string(looked) + (looked >= all
                                       ? " sectors looked at"
                                       : " of " + std::to_string(all) + " sectors looked at; --full looks at all");
}

void PrintReport(const std::string& path, const DiscReport& report) {
  TextTable table({">Session", ">Track", "Mode", ">Sectors", ">Looked at", "Verdict"}, {});
  Remarks remarks;
  remarks.Add("disc", report.findings);
  for (const TrackReport& track : report.tracks) {
    remarks.Add(Format("session %u, track %u", track.session, track.number), track.findings);
  }
  const std::size_t faults = report.Faults();
  const std::string verdict = faults == 0
                                  ? Coloured("good", Colour::Green)
                                  : Coloured(Format("%zu fault%s", faults, faults == 1 ? "" : "s"), Colour::Red);
  Print(Coloured(TerminalText(path), Colour::Bold) + ": " + verdict + ", " + Extent(report) + "\n" + remarks.Render());
  if (report.tracks.empty()) {
    return;
  }
  Print("\n");
  table.Print([&](const TextTable::RowSink& sink) {
    if (FaultsIn(report.findings) != 0) {
      const std::string none;
      sink({none, std::string("disc"), none, none, none, Verdict(false)});
    }
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
