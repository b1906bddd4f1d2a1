#include "FakeDirectShow.h"

#include <control.h>
#include <objbase.h>
#include <oleauto.h>
#include <strmif.h>
#include <uuids.h>
#include <vfwmsgs.h>

#include <deque>

// A method that nobody should call.
#define UNUSED(name, ...) \
  HRESULT STDMETHODCALLTYPE name(__VA_ARGS__) override { return E_NOTIMPL; }

namespace {

FakeDirectShow* current = nullptr;

constexpr GUID kReaderClass = {
    0x187463A0, 0x5BB7, 0x11D3, {0xAC, 0xBE, 0x00, 0x80, 0xC7, 0x5E, 0x24, 0x6E}};

std::string Narrow(const wchar_t* text) {
  char narrow[300] = "(null)";
  if (text) WideCharToMultiByte(CP_ACP, 0, text, -1, narrow, sizeof narrow, nullptr, nullptr);
  return narrow;
}

// The count that each object has, and the count of all of them.
template <class... Interfaces>
class Counted : public Interfaces... {
 public:
  explicit Counted(std::atomic<int>& alive) : alive_(alive) { ++alive_; }
  virtual ~Counted() { --alive_; }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++count_); }
  ULONG STDMETHODCALLTYPE Release() override {
    const int left = --count_;
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
  }
  template <class T>
  HRESULT Give(T* self, void** object) {
    AddRef();
    *object = self;
    return S_OK;
  }

 private:
  std::atomic<int>& alive_;
  std::atomic<int> count_ = 1;
};

HRESULT Step(const std::string& name) {
  FakeDirectShow::Current().Note(name);
  return FakeDirectShow::Current().Fails(name) ? E_FAIL : S_OK;
}

class FakePin final : public Counted<IPin> {
 public:
  explicit FakePin(std::atomic<int>& alive) : Counted(alive), alive_(alive) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  UNUSED(Connect, IPin*, const AM_MEDIA_TYPE*)
  UNUSED(ReceiveConnection, IPin*, const AM_MEDIA_TYPE*)
  UNUSED(Disconnect)
  HRESULT STDMETHODCALLTYPE ConnectedTo(IPin** other) override {
    const bool connected = !FakeDirectShow::Current().PassesOverRenderer();
    *other = connected ? new FakePin(alive_) : nullptr;
    return connected ? S_OK : VFW_E_NOT_CONNECTED;
  }
  UNUSED(ConnectionMediaType, AM_MEDIA_TYPE*)
  UNUSED(QueryPinInfo, PIN_INFO*)
  UNUSED(QueryDirection, PIN_DIRECTION*)
  UNUSED(QueryId, LPWSTR*)
  UNUSED(QueryAccept, const AM_MEDIA_TYPE*)
  UNUSED(EnumMediaTypes, IEnumMediaTypes**)
  UNUSED(QueryInternalConnections, IPin**, ULONG*)
  UNUSED(EndOfStream)
  UNUSED(BeginFlush)
  UNUSED(EndFlush)
  UNUSED(NewSegment, REFERENCE_TIME, REFERENCE_TIME, double)

 private:
  std::atomic<int>& alive_;
};

// One pin.
class FakePins final : public Counted<IEnumPins> {
 public:
  explicit FakePins(std::atomic<int>& alive) : Counted(alive), alive_(alive) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  HRESULT STDMETHODCALLTYPE Next(ULONG, IPin** pin, ULONG*) override {
    *pin = new FakePin(alive_);
    return S_OK;
  }
  UNUSED(Skip, ULONG)
  UNUSED(Reset)
  UNUSED(Clone, IEnumPins**)

 private:
  std::atomic<int>& alive_;
};

// The reader, or with another name a device.
class FakeFilter final : public Counted<IBaseFilter, IFileSourceFilter> {
 public:
  FakeFilter(std::atomic<int>& alive, bool device)
      : Counted(alive), alive_(alive), device_(device) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (!IsEqualGUID(iid, IID_IFileSourceFilter) || FAILED(Step("ask for the file source")))
      return E_NOINTERFACE;
    return Give(static_cast<IFileSourceFilter*>(this), object);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return Counted::AddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return Counted::Release(); }

  HRESULT STDMETHODCALLTYPE Load(LPCOLESTR name, const AM_MEDIA_TYPE*) override {
    file_ = Narrow(name);
    return Step("load " + file_);
  }
  HRESULT STDMETHODCALLTYPE FindPin(LPCWSTR name, IPin** pin) override {
    *pin = nullptr;
    const HRESULT result = Step("find pin " + Narrow(name));
    if (FAILED(result)) return result;
    // A file without sound has no pin, whatever the result says.
    if (device_ || !FakeDirectShow::Current().IsBad(file_)) *pin = new FakePin(alive_);
    return result;
  }

  HRESULT STDMETHODCALLTYPE EnumPins(IEnumPins** pins) override {
    *pins = new FakePins(alive_);
    return S_OK;
  }

  UNUSED(GetCurFile, LPOLESTR*, AM_MEDIA_TYPE*)
  UNUSED(GetClassID, CLSID*)
  UNUSED(Stop)
  UNUSED(Pause)
  UNUSED(Run, REFERENCE_TIME)
  UNUSED(GetState, DWORD, FILTER_STATE*)
  UNUSED(SetSyncSource, IReferenceClock*)
  UNUSED(GetSyncSource, IReferenceClock**)
  UNUSED(QueryFilterInfo, FILTER_INFO*)
  UNUSED(JoinFilterGraph, IFilterGraph*, LPCWSTR)
  UNUSED(QueryVendorInfo, LPWSTR*)

  const std::string& File() const { return file_; }

 private:
  std::atomic<int>& alive_;
  bool device_;
  std::string file_;
};

class FakeProperties final : public Counted<IPropertyBag> {
 public:
  FakeProperties(std::atomic<int>& alive, const wchar_t* name) : Counted(alive), name_(name) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  HRESULT STDMETHODCALLTYPE Read(LPCOLESTR, VARIANT* value, IErrorLog*) override {
    value->vt = VT_BSTR;
    value->bstrVal = SysAllocString(name_);
    return S_OK;
  }
  UNUSED(Write, LPCOLESTR, VARIANT*)

 private:
  const wchar_t* name_;
};

class FakeMoniker final : public Counted<IMoniker> {
 public:
  FakeMoniker(std::atomic<int>& alive, const wchar_t* name)
      : Counted(alive), alive_(alive), name_(name) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  HRESULT STDMETHODCALLTYPE BindToObject(IBindCtx*, IMoniker*, REFIID, void** object) override {
    FakeDirectShow::Current().Note("take device " + Narrow(name_));
    *object = static_cast<IBaseFilter*>(new FakeFilter(alive_, true));
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE BindToStorage(IBindCtx*, IMoniker*, REFIID, void** object) override {
    *object = static_cast<IPropertyBag*>(new FakeProperties(alive_, name_));
    return S_OK;
  }
  UNUSED(GetClassID, CLSID*)
  UNUSED(IsDirty)
  UNUSED(Load, IStream*)
  UNUSED(Save, IStream*, BOOL)
  UNUSED(GetSizeMax, ULARGE_INTEGER*)
  UNUSED(Reduce, IBindCtx*, DWORD, IMoniker**, IMoniker**)
  UNUSED(ComposeWith, IMoniker*, BOOL, IMoniker**)
  UNUSED(Enum, BOOL, IEnumMoniker**)
  UNUSED(IsEqual, IMoniker*)
  UNUSED(Hash, DWORD*)
  UNUSED(IsRunning, IBindCtx*, IMoniker*, IMoniker*)
  UNUSED(GetTimeOfLastChange, IBindCtx*, IMoniker*, FILETIME*)
  UNUSED(Inverse, IMoniker**)
  UNUSED(CommonPrefixWith, IMoniker*, IMoniker**)
  UNUSED(RelativePathTo, IMoniker*, IMoniker**)
  UNUSED(GetDisplayName, IBindCtx*, IMoniker*, LPOLESTR*)
  UNUSED(ParseDisplayName, IBindCtx*, IMoniker*, LPOLESTR, ULONG*, IMoniker**)
  UNUSED(IsSystemMoniker, DWORD*)

 private:
  std::atomic<int>& alive_;
  const wchar_t* name_;
};

// Three devices; the names differ in their case alone.
class FakeDevices final : public Counted<ICreateDevEnum, IEnumMoniker> {
 public:
  explicit FakeDevices(std::atomic<int>& alive) : Counted(alive), alive_(alive) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG STDMETHODCALLTYPE AddRef() override { return Counted::AddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return Counted::Release(); }
  HRESULT STDMETHODCALLTYPE CreateClassEnumerator(REFCLSID, IEnumMoniker** monikers,
                                                  DWORD) override {
    AddRef();
    *monikers = this;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Next(ULONG, IMoniker** moniker, ULONG*) override {
    constexpr const wchar_t* kNames[] = {L"Speakers", L"default waveout device",
                                         L"Default WaveOut Device"};
    if (next_ == std::size(kNames)) return S_FALSE;
    *moniker = new FakeMoniker(alive_, kNames[next_++]);
    return S_OK;
  }
  UNUSED(Skip, ULONG)
  UNUSED(Reset)
  UNUSED(Clone, IEnumMoniker**)

 private:
  std::atomic<int>& alive_;
  std::size_t next_ = 0;
};

}  // namespace

struct FakeEvents {
  struct Event {
    long code;
    LONG_PTR second;
  };
  std::mutex lock;
  std::deque<Event> waiting;
  HWND window = nullptr;
  UINT message = 0;
  LONG_PTR lParam = 0;
};

class FakeGraph final : public Counted<IGraphBuilder, IMediaControl, IMediaEventEx, IBasicAudio> {
 public:
  explicit FakeGraph(FakeDirectShow& world) : Counted(world.alive_), world_(world) {
    ++world_.graphs_;
    const std::lock_guard guard(world_.lock_);
    world_.events_ = events_;
  }
  ~FakeGraph() override { world_.Note("graph gone"); }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (IsEqualGUID(iid, IID_IMediaControl) && SUCCEEDED(Step("ask for control")))
      return Give(static_cast<IMediaControl*>(this), object);
    if (IsEqualGUID(iid, IID_IMediaEventEx) && SUCCEEDED(Step("ask for events")))
      return Give(static_cast<IMediaEventEx*>(this), object);
    if (IsEqualGUID(iid, IID_IBasicAudio) && SUCCEEDED(Step("ask for volume")))
      return Give(static_cast<IBasicAudio*>(this), object);
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return Counted::AddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return Counted::Release(); }

  HRESULT STDMETHODCALLTYPE AddFilter(IBaseFilter* filter, LPCWSTR name) override {
    if (!name) reader_ = static_cast<FakeFilter*>(filter);
    return Step(name ? "add filter " + Narrow(name) : "add filter");
  }
  HRESULT STDMETHODCALLTYPE RemoveFilter(IBaseFilter*) override { return Step("remove filter"); }
  HRESULT STDMETHODCALLTYPE Connect(IPin*, IPin*) override { return Step("connect"); }
  HRESULT STDMETHODCALLTYPE Render(IPin* pin) override {
    if (!pin) world_.Note("rendered null");  // which crashes the real one
    const HRESULT result = Step("render");
    const std::lock_guard guard(world_.lock_);
    if (SUCCEEDED(result) && reader_) world_.file_ = reader_->File();
    return result;
  }
  HRESULT STDMETHODCALLTYPE Run() override {
    world_.running_ = true;
    return Step("run");
  }
  HRESULT STDMETHODCALLTYPE Pause() override {
    world_.running_ = false;
    return Step("pause");
  }
  HRESULT STDMETHODCALLTYPE Stop() override {
    world_.running_ = false;
    return Step("stop");
  }
  HRESULT STDMETHODCALLTYPE SetNotifyWindow(OAHWND window, long message, LONG_PTR lParam) override {
    const std::lock_guard guard(events_->lock);
    events_->window = reinterpret_cast<HWND>(window);
    events_->message = static_cast<UINT>(message);
    events_->lParam = lParam;
    if (window) world_.window_ = events_->window;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetEvent(long* code, LONG_PTR* first, LONG_PTR* second,
                                     long limit) override {
    const std::lock_guard guard(events_->lock);
    if (events_->waiting.empty() || limit != 0) return E_ABORT;
    *code = events_->waiting.front().code;
    *first = 0;
    *second = events_->waiting.front().second;
    events_->waiting.pop_front();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE FreeEventParams(long code, LONG_PTR, LONG_PTR) override {
    return Step("free event " + std::to_string(code));
  }
  HRESULT STDMETHODCALLTYPE put_Volume(long volume) override {
    return Step("volume " + std::to_string(volume));
  }
  HRESULT STDMETHODCALLTYPE get_Volume(long* volume) override {
    *volume = -77;
    return S_OK;
  }

  UNUSED(EnumFilters, IEnumFilters**)
  UNUSED(FindFilterByName, LPCWSTR, IBaseFilter**)
  UNUSED(ConnectDirect, IPin*, IPin*, const AM_MEDIA_TYPE*)
  UNUSED(Reconnect, IPin*)
  UNUSED(Disconnect, IPin*)
  UNUSED(SetDefaultSyncSource)
  UNUSED(RenderFile, LPCWSTR, LPCWSTR)
  UNUSED(AddSourceFilter, LPCWSTR, LPCWSTR, IBaseFilter**)
  UNUSED(SetLogFile, DWORD_PTR)
  UNUSED(Abort)
  UNUSED(ShouldOperationContinue)
  UNUSED(GetTypeInfoCount, UINT*)
  UNUSED(GetTypeInfo, UINT, LCID, ITypeInfo**)
  UNUSED(GetIDsOfNames, REFIID, LPOLESTR*, UINT, LCID, DISPID*)
  UNUSED(Invoke, DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*)
  UNUSED(GetState, LONG, OAFilterState*)
  UNUSED(RenderFile, BSTR)
  UNUSED(AddSourceFilter, BSTR, IDispatch**)
  UNUSED(get_FilterCollection, IDispatch**)
  UNUSED(get_RegFilterCollection, IDispatch**)
  UNUSED(StopWhenReady)
  UNUSED(GetEventHandle, OAEVENT*)
  UNUSED(WaitForCompletion, long, long*)
  UNUSED(CancelDefaultHandling, long)
  UNUSED(RestoreDefaultHandling, long)
  UNUSED(SetNotifyFlags, long)
  UNUSED(GetNotifyFlags, long*)
  UNUSED(put_Balance, long)
  UNUSED(get_Balance, long*)

 private:
  FakeDirectShow& world_;
  FakeFilter* reader_ = nullptr;  // as long as it is being built
  const std::shared_ptr<FakeEvents> events_ = std::make_shared<FakeEvents>();
};

FakeDirectShow::FakeDirectShow() {
  current = this;
  hook_ = std::make_unique<support::ImportHook>("ole32.dll", "CoCreateInstance", Create);
}

FakeDirectShow::~FakeDirectShow() {
  hook_.reset();
  current = nullptr;
}

FakeDirectShow& FakeDirectShow::Current() { return *current; }

std::vector<std::string> FakeDirectShow::Take() {
  const std::lock_guard guard(lock_);
  return std::exchange(notes_, {});
}

std::string FakeDirectShow::File() {
  const std::lock_guard guard(lock_);
  return file_;
}

void FakeDirectShow::Note(const std::string& what) {
  if (!keepNotes_) return;
  const std::lock_guard guard(lock_);
  notes_.push_back(what);
}

void FakeDirectShow::Fail(const std::string& step, bool fails) {
  const std::lock_guard guard(lock_);
  if (fails)
    fails_.insert(step);
  else
    fails_.erase(step);
}

bool FakeDirectShow::Fails(const std::string& step) {
  const std::lock_guard guard(lock_);
  return fails_.contains(step);
}

void FakeDirectShow::Bad(const std::string& file) {
  const std::lock_guard guard(lock_);
  bad_.insert(file);
}

bool FakeDirectShow::IsBad(const std::string& file) {
  const std::lock_guard guard(lock_);
  return bad_.contains(file);
}

bool FakeDirectShow::Tell(long code, LONG_PTR second) {
  std::shared_ptr<FakeEvents> events;
  {
    const std::lock_guard guard(lock_);
    events = events_;
  }
  if (!events) return false;
  const std::lock_guard guard(events->lock);
  events->waiting.push_back({code, second});
  return events->window && PostMessageA(events->window, events->message, 0, events->lParam);
}

HRESULT WINAPI FakeDirectShow::Create(REFCLSID which, IUnknown*, DWORD context, REFIID,
                                      void** object) {
  FakeDirectShow& world = Current();
  if (context != (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER)) world.Note("wrong context");
  if (IsEqualGUID(which, CLSID_FilterGraph)) {
    if (FAILED(Step("make graph"))) return E_FAIL;
    *object = static_cast<IGraphBuilder*>(new FakeGraph(world));
  } else if (IsEqualGUID(which, kReaderClass)) {
    if (FAILED(Step("make reader"))) return E_FAIL;
    *object = static_cast<IBaseFilter*>(new FakeFilter(world.alive_, false));
  } else if (IsEqualGUID(which, CLSID_DSoundRender)) {
    if (FAILED(Step("make renderer"))) return E_FAIL;
    *object = static_cast<IBaseFilter*>(new FakeFilter(world.alive_, true));
  } else {
    if (FAILED(Step("make device list"))) return E_FAIL;
    *object = static_cast<ICreateDevEnum*>(new FakeDevices(world.alive_));
  }
  return S_OK;
}
