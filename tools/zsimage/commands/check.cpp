#include <map>

#include <fmt/format.h>

#include "checks/disc_check.h"
#include "commands/commands.h"
#include "output/failure.h"
#include "output/json.h"
#include "output/report.h"
#include "output/standard_output.h"
#include "output/terminal_text.h"
#include "output/text_table.h"

namespace {

struct CheckOptions {
  std::vector<std::string> paths;
  bool full = false;
  bool json = false;
};

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
            {"looked", track.checked},
            {"good", track.findings.Faults() == 0},
            {"findings", FindingsToJson(track.findings)}});
    }
  });
}

/// Returns one line for all findings that have the same words.
std::string RenderFindings(const DiscReport& report) {
  struct Line {
    std::string subject; ///< Subject of the first finding.
    const Finding* finding;
    unsigned others;
  };
  std::vector<Line> lines;
  std::map<std::string, std::size_t> indexes; // Words to the index in `lines`.
  const auto add = [&](const std::string& subject, const Findings& findings) {
    for (const Finding& finding : findings) {
      const auto [known, isNew] = indexes.emplace(finding.words, lines.size());
      if (isNew) {
        lines.push_back({subject, &finding, 0});
      } else {
        ++lines[known->second].others;
      }
    }
  };
  add("disc", report.findings);
  for (const TrackReport& track : report.tracks) {
    add(fmt::format("session {}, track {}", track.session, track.number), track.findings);
  }
  std::string page;
  for (const auto& [subject, finding, others] : lines) {
    page += fmt::format("  {}  {}{}: {}\n",
                        finding->isFault ? Coloured("fault", Colour::Red) : Coloured("note", Colour::Yellow) + " ",
                        subject, others == 0 ? "" : " and " + Counted(others, "other"), finding->words);
  }
  return page;
}

/// Returns words for the number of sectors that were checked, and for how to check all.
std::string Extent(const DiscReport& report) {
  UHYPER checked = 0;
  UHYPER all = 0;
  for (const TrackReport& track : report.tracks) {
    checked += track.checked;
    all += track.canBeChecked ? track.sectors : 0;
  }
  if (all == 0) {
    return "its sectors have no codes to check";
  }
  return checked >= all ? fmt::format("{} sectors checked", checked)
                        : fmt::format("{} of {} sectors checked; --full checks all", checked, all);
}

TextTable::Cell Verdict(bool isGood) {
  return isGood ? TextTable::Cell("good", Colour::Green) : TextTable::Cell("faulty", Colour::Red);
}

void PrintTracks(const DiscReport& report) {
  TextTable table({">Session", ">Track", "Mode", ">Sectors", ">Checked", "Verdict"}, {});
  table.Print([&](const TextTable::RowSink& sink) {
    if (report.findings.Faults() != 0) {
      const std::string none;
      sink({none, std::string("disc"), none, none, none, Verdict(false)});
    }
    for (const TrackReport& track : report.tracks) {
      sink({std::to_string(track.session), std::to_string(track.number), track.mode, std::to_string(track.sectors),
            track.canBeChecked ? std::to_string(track.checked) : "-", Verdict(track.findings.Faults() == 0)});
    }
  });
}

void PrintReport(const std::string& path, const DiscReport& report) {
  const std::size_t faults = report.Faults();
  Print(fmt::format("{}: {}, {}\n{}", Coloured(TerminalText(path), Colour::Bold),
                    faults == 0 ? Coloured("good", Colour::Green) : Coloured(Counted(faults, "fault"), Colour::Red),
                    Extent(report), RenderFindings(report)));
  if (!report.tracks.empty()) {
    Print("\n");
    PrintTracks(report);
  }
}

int RunCheck(const CheckOptions& options) {
  return ForEachImage(options.paths, options.json, [&](const std::string& path) {
    const DiscReport report = CheckDisc(OpenImage(path), options.full);
    if (options.json) {
      PrintReportJson(path, report, options.paths.size() > 1);
    } else {
      Print(&path == &options.paths.front() ? "" : "\n");
      PrintReport(path, report);
    }
    return report.Faults() == 0 ? 0 : kExitFailure;
  });
}

} // namespace

void AddCheck(Command* tool) {
  auto [command, options] = tool->Add("check", "Find what is wrong with images before they are burned", RunCheck);
  command.AddImages(&options.paths);
  command.add_flag("--full", options.full, "Check every sector instead of a sample of each track");
  command.AddJson(&options.json, "Print one JSON object; of several images, one a line");
  command.AddExamples({{"zsimage check disc.cue", "Tracks, codes, text and a sample of the sectors."},
                       {"zsimage check --full *.cue && echo fit to burn", "All sectors of several images."}});
}
