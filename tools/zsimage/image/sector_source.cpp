#include "image/sector_source.h"

#include "files/files.h"
#include "output/failure.h"

ComPtr<IStream> OpenRun(const Host& host, const std::string& dataFile, const SectorRun& run, Transfer* transfer) {
  // A record of this one run: the stream takes its place and geometry from nothing else.
  zsimagefileinfo info{};
  info.dwSeekBegin64 = run.begin;
  info.nSubCount = static_cast<USHORT>(run.dataOffset);
  ZSTRACK track{};
  track.dwEndLBA = run.sectors;
  track.BlockSize = static_cast<ZSFILEBLOCKSIZECUE>(run.blockSize);
  ComPtr<IStream> stream;
  const HRESULT result =
      host.Sheets().ExtractTrackToStream(Wide(dataFile).get(), nullptr, &info, &track, run.dataSize,
                                         Transfer::CallBack(), 0, transfer->User(), stream.Receive());
  Check(result, dataFile,
        result == S_FALSE ? "the data file cannot be opened, or the track's place in it is beyond any file" : "");
  return stream;
}

RunEnd ReadRun(const Host& host, const std::string& dataFile, const SectorRun& run, Transfer* transfer,
               const RunSink& sink) {
  constexpr ULONG kSectorsAtOnce = 111;
  const ComPtr<IStream> stream = OpenRun(host, dataFile, run, transfer);
  std::vector<BYTE> buffer(std::size_t{kSectorsAtOnce} * run.dataSize);
  RunEnd end{0, S_OK};
  for (ULONG delivered = 1; delivered != 0; end.bytes += delivered) {
    const HRESULT result = stream->Read(buffer.data(), static_cast<ULONG>(buffer.size()), &delivered);
    if (FAILED(result) && end.result == S_OK) {
      end.result = result;
    }
    sink(buffer.data(), delivered);
  }
  return end;
}

ULONG MissingSectors(const std::string& dataFile, const SectorRun& run) {
  const UHYPER size = FileSize(dataFile).value_or(0);
  if (run.sectors == 0) {
    return 0;
  }
  // The last sector counts as there when the part of it that is taken is.
  const UHYPER lead = run.begin + run.dataOffset;
  if (lead < run.begin || size < lead || size - lead < run.dataSize) {
    return run.sectors;
  }
  const UHYPER present = (size - lead - run.dataSize) / run.blockSize + 1;
  return present >= run.sectors ? 0 : run.sectors - static_cast<ULONG>(present);
}

void ThrowReadFailure(const std::string& dataFile, const SectorRun& run, const RunEnd& end) {
  const ULONG missing = MissingSectors(dataFile, run);
  if (missing == run.sectors) {
    throw Failure(dataFile, "the image is short: the file ends before the track begins",
                  HRESULT_FROM_WIN32(ERROR_HANDLE_EOF));
  }
  if (missing != 0) {
    const auto over = static_cast<unsigned>((FileSize(dataFile).value_or(0) - run.begin) % run.blockSize);
    throw Failure(dataFile,
                  Format("the image is short: the file ends before the track does, %u of its %u sectors are missing%s; "
                         "'zsimage extract --partial' saves the others",
                         missing, run.sectors, over == 0 ? "" : Format(" and %u bytes are over", over).c_str()),
                  HRESULT_FROM_WIN32(ERROR_HANDLE_EOF));
  }
  throw Failure(dataFile,
                "the file cannot be read at sector " + std::to_string(end.bytes / run.dataSize) + " of the track",
                FAILED(end.result) ? end.result : HRESULT_FROM_WIN32(ERROR_IO_DEVICE));
}
