#include "music/AudioStream.h"

#include "base/AnsiText.h"
#include "base/ComRef.h"

#include <cmath>
#include <cstring>
#include <string>
#include <utility>

// The headers of DirectShow, without their wrappers for the old C++ ways.
#include <objbase.h>
#include <oleauto.h>
#include <control.h>
#include <strmif.h>
#include <evcode.h>
#include <uuids.h>
#include <vfwmsgs.h>

namespace {

constexpr char kWindowClass[] = "AudioStream Notify Window";
constexpr char kDeviceName[] = "Default WaveOut Device";
constexpr wchar_t kReaderPin[] = L"Raw Audio 0";
constexpr wchar_t kRendererPin[] = L"Audio Input pin";
constexpr DWORD kInProcess = CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER;
constexpr double kQuietest = -2500.0;  // hundredths of a decibel

// The libraries of interface ids don't have it.
constexpr GUID kReaderClass = {
    0x187463A0, 0x5BB7, 0x11D3, {0xAC, 0xBE, 0x00, 0x80, 0xC7, 0x5E, 0x24, 0x6E}};

class Locked {
 public:
  explicit Locked(cMonitor& monitor) : monitor_(monitor) { monitor_.Lock(); }
  ~Locked() { monitor_.Unlock(); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;

 private:
  cMonitor& monitor_;
};

template <class T>
HRESULT Create(const GUID& which, const IID& iid, T** object) {
  return CoCreateInstance(which, nullptr, kInProcess, iid, reinterpret_cast<void**>(object));
}

template <class T>
HRESULT Query(IUnknown* from, const IID& iid, T** object) {
  const HRESULT result = from->QueryInterface(iid, reinterpret_cast<void**>(object));
  if (FAILED(result)) *object = nullptr;
  return result;
}

// Whether nothing leads to the first pin of a filter.
bool IsIdle(IBaseFilter& filter) {
  ComRef<IEnumPins> pins;
  ComRef<IPin> pin, other;
  return SUCCEEDED(filter.EnumPins(pins.put())) && pins->Next(1, pin.put(), nullptr) == S_OK &&
         pin->ConnectedTo(other.put()) == VFW_E_NOT_CONNECTED;
}

class Variant {
 public:
  Variant() { VariantInit(&value_); }
  ~Variant() { VariantClear(&value_); }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  VARIANT* Get() { return &value_; }
  // Null if it holds no text.
  const wchar_t* Text() const { return value_.vt == VT_BSTR ? value_.bstrVal : nullptr; }

 private:
  VARIANT value_{};
};

}  // namespace

AudioStream& AudioStream::Instance() {
  if (!Existing()) new AudioStream;  // which registers itself
  return *Existing();
}

AudioStream::AudioStream() {
  CoInitialize(nullptr);
  if (notifyMessage == 0) notifyMessage = RegisterWindowMessageA("AudioStream Notify");
}

AudioStream::~AudioStream() {
  {
    const Locked locked(lock);
    Close();
  }
  CoUninitialize();
}

// --- What a track goes through ---

std::uint32_t AudioStream::Open(const char* file, Callback newCallback, bool defer,
                                std::intptr_t newCallbackParam, void* newUserData) {
  decltype(fileName) wide;
  if (!file || !MultiByteToWideChar(CP_ACP, 0, file, -1, wide, std::size(wide))) return 0;
  return Open(wide, newCallback, defer, newCallbackParam, newUserData);
}

std::uint32_t AudioStream::Open(const wchar_t* file, Callback newCallback, bool defer,
                                std::intptr_t newCallbackParam, void* newUserData) {
  const Locked locked(lock);
  if (!file || !*file || std::wcslen(file) >= std::size(fileName)) return 0;
  std::wcscpy(fileName, file);
  deferEvents = defer;
  return Build(true, newCallback, newCallbackParam, newUserData);
}

bool AudioStream::Play(std::uint32_t id, bool startAgain) {
  const Locked locked(lock);
  if (!IsCurrent(id)) return false;
  loop = startAgain;
  if (!active && Build(false, callback, 0, nullptr) == 0) return false;
  mediaControl->Run();
  return active;
}

void AudioStream::Pause(std::uint32_t id) {
  const Locked locked(lock);
  if (IsCurrent(id) && active) mediaControl->Pause();
}

void AudioStream::Stop(std::uint32_t id) {
  const Locked locked(lock);
  if (!IsCurrent(id) || !active) return;
  mediaControl->Stop();
  active = false;
}

std::int32_t AudioStream::VolumeOf(std::uint8_t value) {
  return static_cast<std::int32_t>(kQuietest - std::trunc(value / 255.0 * kQuietest));
}

void AudioStream::SetVolume(std::uint8_t value) {
  volume = VolumeOf(value);
  if (basicAudio) basicAudio->put_Volume(volume);
}

void AudioStream::SetNamedDevice(bool flag) {
  const Locked locked(lock);
  useNamedDevice = flag;
}

// --- The graph ---

// A callback that stays is not told that the track before it was given up.
std::uint32_t AudioStream::Build(bool newTrack, Callback newCallback,
                                 std::intptr_t newCallbackParam, void* newUserData) {
  if (fileName[0] == L'\0') return 0;
  active = false;
  if (newCallback == callback) callback = nullptr;
  Close();
  if (newTrack) ++streamId;
  MakeNotifyWindow();
  callback = newCallback;
  if (newCallbackParam != 0) callbackParam = newCallbackParam;
  if (newUserData) userData = newUserData;
  active = BuildGraph();
  if (active) {
    TakeVolume();
    return streamId;
  }
  Close();
  return 0;
}

bool AudioStream::BuildGraph() {
  if (!MakeFilters()) return false;
  if (useNamedDevice) FindDevice(kDeviceName);
  return LoadFile() && FindReaderPin() && Render();
}

bool AudioStream::MakeFilters() {
  return SUCCEEDED(Create(CLSID_FilterGraph, IID_IGraphBuilder, &graph)) &&
         SUCCEEDED(Create(kReaderClass, IID_IBaseFilter, &sourceFilter)) &&
         SUCCEEDED(graph->AddFilter(sourceFilter, nullptr));
}

bool AudioStream::LoadFile() {
  return SUCCEEDED(Query(sourceFilter, IID_IFileSourceFilter, &fileSource)) &&
         SUCCEEDED(fileSource->Load(fileName, nullptr));
}

// The reader may have taken a file that is bad or missing without a word: it
// then has no such pin.
bool AudioStream::FindReaderPin() {
  if (FAILED(sourceFilter->FindPin(kReaderPin, &outputPin)) || !outputPin) return false;
  if (!rendererFilter) return true;
  return SUCCEEDED(rendererFilter->FindPin(kRendererPin, &inputPin)) && inputPin &&
         SUCCEEDED(graph->Connect(outputPin, inputPin));
}

bool AudioStream::Render() {
  if (FAILED(Query(graph, IID_IMediaControl, &mediaControl))) return false;
  Query(graph, IID_IMediaEventEx, &mediaEvent);
  if (!RenderOutput()) return false;
  if (mediaEvent && notifyWindow && notifyMessage != 0)
    mediaEvent->SetNotifyWindow(reinterpret_cast<OAHWND>(notifyWindow),
                                static_cast<long>(notifyMessage),
                                reinterpret_cast<LONG_PTR>(userData));
  return true;
}

// The graph renders with what is in it, if that will do; else it tries all filters
// that the system knows, and a search for the same renderer at every track is most
// of what a change of tracks takes. Without it the search is left to find one.
// If the search found another, ours goes: the track's end is told when all
// renderers are at their end, and an idle one never is.
bool AudioStream::RenderOutput() {
  ComRef<IBaseFilter> offered;
  if (!rendererFilter && SUCCEEDED(Create(CLSID_DSoundRender, IID_IBaseFilter, offered.put())))
    graph->AddFilter(offered.get(), L"DefaultOutput");
  if (FAILED(graph->Render(outputPin))) return false;
  if (offered && IsIdle(*offered.get())) graph->RemoveFilter(offered.get());
  return true;
}

// A named device keeps the volume that it has.
void AudioStream::TakeVolume() {
  if (useNamedDevice || FAILED(Query(graph, IID_IBasicAudio, &basicAudio))) return;
  long before = 0;
  basicAudio->get_Volume(&before);
  savedVolume = before;
  basicAudio->put_Volume(volume);
}

void AudioStream::Close() {
  DestroyNotifyWindow();
  if (mediaControl) mediaControl->Stop();
  SafeRelease(rendererFilter);
  SafeRelease(outputPin);
  SafeRelease(inputPin);
  SafeRelease(sourceFilter);
  SafeRelease(fileSource);
  SafeRelease(graph);
  SafeRelease(mediaControl);
  if (mediaEvent) mediaEvent->SetNotifyWindow(0, 0, 0);
  SafeRelease(mediaEvent);
  if (basicAudio) basicAudio->put_Volume(savedVolume);
  SafeRelease(basicAudio);
  if (const Callback told = std::exchange(callback, nullptr)) told(-1, userData);
}

// --- A device of a fixed name ---

void AudioStream::FindDevice(const char* name) {
  ComRef<ICreateDevEnum> devices;
  ComRef<IEnumMoniker> monikers;
  if (FAILED(Create(CLSID_SystemDeviceEnum, IID_ICreateDevEnum, devices.put())) ||
      devices->CreateClassEnumerator(CLSID_AudioRendererCategory, monikers.put(), 0) != S_OK)
    return;
  ComRef<IMoniker> moniker;
  while (monikers->Next(1, moniker.put(), nullptr) == S_OK)
    if (IsDevice(*moniker.get(), name)) return TakeDevice(*moniker.get());
}

bool AudioStream::IsDevice(IMoniker& moniker, const char* name) const {
  ComRef<IPropertyBag> properties;
  Variant friendlyName;
  return SUCCEEDED(moniker.BindToStorage(nullptr, nullptr, IID_IPropertyBag,
                                         properties.put_void())) &&
         SUCCEEDED(properties->Read(L"FriendlyName", friendlyName.Get(), nullptr)) &&
         friendlyName.Text() && AnsiFromWide(friendlyName.Text()) == name;
}

void AudioStream::TakeDevice(IMoniker& moniker) {
  ComRef<IBaseFilter> device;
  if (FAILED(moniker.BindToObject(nullptr, nullptr, IID_IBaseFilter, device.put_void()))) return;
  if (rendererFilter) graph->RemoveFilter(rendererFilter);
  SafeRelease(rendererFilter);
  graph->AddFilter(device.get(), L"AudioOutput");
  rendererFilter = device.release();
}

// --- Events ---

void AudioStream::MakeNotifyWindow() {
  if (notifyWindow) return;
  WNDCLASSA windowClass{};
  windowClass.style = CS_NOCLOSE;
  windowClass.lpfnWndProc = NotifyProc;
  windowClass.hInstance = GetModuleHandleA(nullptr);
  windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
  windowClass.lpszClassName = kWindowClass;
  RegisterClassA(&windowClass);  // fails but for the first time
  notifyWindow = CreateWindowExA(0, kWindowClass, kWindowClass, WS_POPUP, 0, 0, 0, 0, nullptr,
                                 nullptr, windowClass.hInstance, nullptr);
  if (notifyWindow)
    SetWindowLongPtrA(notifyWindow, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

// Only the thread that made a window can destroy it: another one has it go by
// itself, and deaf until then.
void AudioStream::DestroyNotifyWindow() {
  const HWND window = std::exchange(notifyWindow, nullptr);
  if (!window || DestroyWindow(window)) return;
  SetWindowLongPtrA(window, GWLP_USERDATA, 0);
  PostMessageA(window, WM_CLOSE, 0, 0);
}

LRESULT CALLBACK AudioStream::NotifyProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == notifyMessage)
    if (const LONG_PTR stream = GetWindowLongPtrA(window, GWLP_USERDATA))
      reinterpret_cast<AudioStream*>(stream)->OnNotify(window, wParam, lParam);
  return DefWindowProcA(window, message, wParam, lParam);
}

// An event may have its callback open the next track, so the graph is held
// until its last event is done with.
void AudioStream::OnNotify(HWND window, WPARAM wParam, LPARAM lParam) {
  const Locked locked(lock);
  if (deferEvents && callbackParam != 0) {
    PostMessageA(window, notifyMessage, wParam, lParam);
    return;
  }
  if (!mediaEvent) return;
  mediaEvent->AddRef();
  const ComRef<IMediaEventEx> events(mediaEvent);
  while (NextEvent(*events.get())) {
  }
}

// False if there is none, or if the graph was replaced.
bool AudioStream::NextEvent(IMediaEventEx& events) {
  long code = 0;
  LONG_PTR first = 0, second = 0;
  if (FAILED(events.GetEvent(&code, &first, &second, 0))) return false;
  if (code == EC_COMPLETE) OnComplete();
  if (code == EC_ERRORABORT || (code == EC_DEVICE_LOST && second == 0)) active = false;
  events.FreeEventParams(code, first, second);
  return &events == mediaEvent;
}

void AudioStream::OnComplete() {
  if (loop) {
    Stop(streamId);
    Play(streamId, loop);
  }
  if (callback) callback(static_cast<std::int32_t>(streamId), userData);
}
