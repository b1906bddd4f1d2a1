// What DirectShow takes to change tracks, without anything of the program's:
// TrackBench offered|searched FILE FILE COUNT plays the files in turn, each for a
// second. Says "change" when a track is to be replaced, then how many milliseconds
// after that the old graph was gone, the file loaded, the graph rendered, and Run
// back. "offered" puts the default renderer into the graph first, as the program
// does; with "searched" the graph finds it. The script tracks.py beside this file
// listens and makes a table.

#include "base/ComRef.h"
#include "base/win.h"

#include <objbase.h>
#include <control.h>
#include <strmif.h>
#include <uuids.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr DWORD kPlayMs = 1000;
constexpr GUID kReaderClass = {
    0x187463A0, 0x5BB7, 0x11D3, {0xAC, 0xBE, 0x00, 0x80, 0xC7, 0x5E, 0x24, 0x6E}};

using Clock = std::chrono::steady_clock;

struct Track {
  ComRef<IGraphBuilder> graph;
  ComRef<IBaseFilter> reader;
  ComRef<IFileSourceFilter> source;
  ComRef<IPin> pin;
  ComRef<IMediaControl> control;
};

void Require(HRESULT result, const char* step) {
  if (SUCCEEDED(result)) return;
  std::fprintf(stderr, "TrackBench: %s failed: %08lx\n", step, static_cast<unsigned long>(result));
  std::exit(1);
}

void Make(const GUID& which, const IID& iid, void** object, const char* step) {
  Require(CoCreateInstance(which, nullptr, CLSCTX_INPROC_SERVER, iid, object), step);
}

void Load(Track& track, const wchar_t* file) {
  Make(CLSID_FilterGraph, IID_IGraphBuilder, track.graph.put_void(), "the graph");
  Make(kReaderClass, IID_IBaseFilter, track.reader.put_void(), "the reader");
  Require(track.graph->AddFilter(track.reader.get(), nullptr), "AddFilter");
  Require(track.reader->QueryInterface(IID_IFileSourceFilter, track.source.put_void()),
          "the file source");
  Require(track.source->Load(file, nullptr), "Load");
  Require(track.reader->FindPin(L"Raw Audio 0", track.pin.put()), "FindPin");
}

void Render(Track& track, bool offersRenderer) {
  if (offersRenderer) {
    ComRef<IBaseFilter> renderer;
    Make(CLSID_DSoundRender, IID_IBaseFilter, renderer.put_void(), "the renderer");
    Require(track.graph->AddFilter(renderer.get(), L"DefaultOutput"), "AddFilter");
  }
  Require(track.graph->Render(track.pin.get()), "Render");
}

// The track goes on until `track` is replaced.
void Change(Track& track, const wchar_t* file, bool offersRenderer) {
  std::puts("change");
  std::fflush(stdout);
  const auto start = Clock::now();
  const auto since = [start] {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
  };
  if (track.control.get()) track.control->Stop();
  track = Track();
  const double closed = since();
  Load(track, file);
  const double loaded = since();
  Render(track, offersRenderer);
  const double rendered = since();
  Require(track.graph->QueryInterface(IID_IMediaControl, track.control.put_void()), "the control");
  Require(track.control->Run(), "Run");
  std::printf("%.1f %.1f %.1f %.1f\n", closed, loaded, rendered, since());
  std::fflush(stdout);
}

std::wstring Wide(const char* text) {
  wchar_t wide[MAX_PATH] = L"";
  MultiByteToWideChar(CP_ACP, 0, text, -1, wide, MAX_PATH);
  return wide;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 5) {
    std::fputs("TrackBench offered|searched FILE FILE COUNT\n", stderr);
    return 2;
  }
  const bool offersRenderer = std::strcmp(arguments[1], "offered") == 0;
  const std::wstring files[] = {Wide(arguments[2]), Wide(arguments[3])};
  CoInitialize(nullptr);
  {
    Track track;
    for (int n = 0; n < std::atoi(arguments[4]); ++n) {
      Change(track, files[n % 2].c_str(), offersRenderer);
      Sleep(kPlayMs);
    }
    track.control->Stop();
  }
  CoUninitialize();
}
