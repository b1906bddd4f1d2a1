#include "app/Monitors.h"

#include "support/GdiGauge.h"
#include "support/ImportHook.h"
#include "support/PixelHelpers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr DWORD kAttached = DISPLAY_DEVICE_ATTACHED_TO_DESKTOP;
constexpr DWORD kPrimary = DISPLAY_DEVICE_ATTACHED_TO_DESKTOP | DISPLAY_DEVICE_PRIMARY_DEVICE;
constexpr DWORD kMirror = DISPLAY_DEVICE_ATTACHED_TO_DESKTOP | DISPLAY_DEVICE_MIRRORING_DRIVER;

// One display device as the system tells of it.
struct Device {
  std::string name;
  DWORD flags;
  LONG x, y;
  DWORD width, height;
};

// A rectangle that tests can compare and print.
struct Place {
  LONG left, top, right, bottom;
  bool operator==(const Place&) const = default;
};

Place PlaceOf(const RECT& rect) { return {rect.left, rect.top, rect.right, rect.bottom}; }

Place PlaceOf(const ChildMonitor& record) {
  return {record.left, record.top, record.right, record.bottom};
}

std::ostream& operator<<(std::ostream& out, const Place& place) {
  return out << place.left << "," << place.top << " to " << place.right << "," << place.bottom;
}

HMONITOR MonitorAt(LONG left) { return reinterpret_cast<HMONITOR>(0x10000 + left); }

// Stands in for the machine's display devices.
class Devices {
 public:
  explicit Devices(std::vector<Device> list) : devices(std::move(list)) {}

  const Device* Find(const char* name) const {
    for (const Device& device : devices)
      if (device.name == name) return &device;
    return nullptr;
  }

  std::vector<Device> devices;
  std::set<std::string> withoutSettings;  // names of devices that the system can't tell of
  std::set<DWORD> indicesAsked;
  std::vector<Place> placesAsked;

 private:
  static void Fill(DISPLAY_DEVICEA* to, const std::string& name, const std::string& text,
                   DWORD flags) {
    EXPECT_EQ(to->cb, sizeof(DISPLAY_DEVICEA));
    std::strcpy(to->DeviceName, name.c_str());
    std::strcpy(to->DeviceString, text.c_str());
    to->StateFlags = flags;
  }

  BOOL EnumDevices(LPCSTR device, DWORD index, DISPLAY_DEVICEA* to, DWORD flags) {
    EXPECT_EQ(flags, 0u);
    if (device) {
      EXPECT_EQ(index, 0u);
      Fill(to, device, "Monitor of " + std::string(device), 0);
      return TRUE;
    }
    indicesAsked.insert(index);
    if (index >= devices.size()) return FALSE;
    Fill(to, devices[index].name, "Adapter " + devices[index].name, devices[index].flags);
    return TRUE;
  }

  BOOL EnumSettings(LPCSTR name, DWORD which, DEVMODEA* mode) const {
    EXPECT_EQ(which, ENUM_CURRENT_SETTINGS);
    const Device* device = Find(name);
    if (!device || withoutSettings.contains(name)) return FALSE;
    mode->dmPosition = {device->x, device->y};
    mode->dmPelsWidth = device->width;
    mode->dmPelsHeight = device->height;
    return TRUE;
  }

  HMONITOR FromRect(const RECT* place, DWORD flags) {
    EXPECT_EQ(flags, static_cast<DWORD>(MONITOR_DEFAULTTONULL));
    placesAsked.push_back(PlaceOf(*place));
    return MonitorAt(place->left);
  }

  support::LambdaHook<decltype(&EnumDisplayDevicesA),
                      std::function<BOOL(LPCSTR, DWORD, DISPLAY_DEVICEA*, DWORD)>>
      devicesHook_{"user32.dll", "EnumDisplayDevicesA",
                   [this](LPCSTR device, DWORD index, DISPLAY_DEVICEA* to, DWORD flags) {
                     return EnumDevices(device, index, to, flags);
                   }};
  support::LambdaHook<decltype(&EnumDisplaySettingsA),
                      std::function<BOOL(LPCSTR, DWORD, DEVMODEA*)>>
      settingsHook_{"user32.dll", "EnumDisplaySettingsA",
                    [this](LPCSTR name, DWORD which, DEVMODEA* mode) {
                      return EnumSettings(name, which, mode);
                    }};
  support::LambdaHook<decltype(&MonitorFromRect), std::function<HMONITOR(const RECT*, DWORD)>>
      monitorHook_{"user32.dll", "MonitorFromRect",
                   [this](const RECT* place, DWORD flags) { return FromRect(place, flags); }};
};

std::vector<std::string> AdapterNames(const ChildWindowSet& set) {
  std::vector<std::string> names;
  for (std::int32_t n = 0; n < set.Count(); ++n) names.push_back(set[n].adapterName);
  return names;
}

// --- The table ---

TEST(Monitors, ASetStartsEmpty) {
  const ChildWindowSet set;
  EXPECT_EQ(set.Count(), 0);
}

TEST(Monitors, TheOneMonitorOfThisMachineIsPrimaryAndGetsNoWindow) {
  ChildWindowSet set;
  set.EnumerateMonitors();
  ASSERT_EQ(set.Count(), 1);
  EXPECT_TRUE(set[0].primary);
  EXPECT_NE(set[0].monitor, nullptr);
  EXPECT_EQ(PlaceOf(set[0]),
            (Place{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)}));
  EXPECT_EQ(set.CreateChildWindows(nullptr, nullptr, "STATIC", "x"), 0);
  EXPECT_EQ(set[0].window, nullptr);
}

TEST(Monitors, ARecordTellsOfItsDevice) {
  Devices devices({{"A", kPrimary, 0, 0, 1024, 768}, {"B", kAttached, -800, 40, 800, 600}});
  ChildWindowSet set;
  set.EnumerateMonitors();
  ASSERT_EQ(set.Count(), 2);
  EXPECT_STREQ(set[1].adapterName, "Adapter B");
  EXPECT_STREQ(set[1].monitorName, "Monitor of B");
  EXPECT_EQ(set[1].monitor, MonitorAt(-800));
  EXPECT_EQ(PlaceOf(set[1]), (Place{-800, 40, 0, 640}));
  EXPECT_EQ(set[1].reserved, -1);
  EXPECT_EQ(set[1].window, nullptr);
  EXPECT_FALSE(set[1].primary);
  EXPECT_TRUE(set[0].primary);
  EXPECT_THAT(devices.placesAsked,
              ElementsAre(Place{0, 0, 1024, 768}, Place{-800, 40, 0, 640}));
}

TEST(Monitors, ThePrimaryOneBeginsAtTheOriginWhateverItsSettingsSay) {
  Devices devices({{"A", kPrimary, 33, 44, 1024, 768}});
  ChildWindowSet set;
  set.EnumerateMonitors();
  EXPECT_EQ(PlaceOf(set[0]), (Place{0, 0, 1024, 768}));
}

TEST(Monitors, AMirrorDriverTakesNoPlace) {
  Devices devices({{"A", kPrimary, 0, 0, 640, 480},
                   {"M", kMirror, 0, 0, 640, 480},
                   {"B", kAttached, 640, 0, 640, 480}});
  ChildWindowSet set;
  set.EnumerateMonitors();
  EXPECT_THAT(AdapterNames(set), ElementsAre("Adapter A", "Adapter B"));
}

TEST(Monitors, ADetachedDeviceKeepsARecordWithoutAMonitor) {
  Devices devices({{"A", kPrimary, 0, 0, 640, 480},
                   {"D", 0, 640, 0, 640, 480},
                   {"P", DISPLAY_DEVICE_PRIMARY_DEVICE, 0, 0, 640, 480}});
  ChildWindowSet set;
  set.EnumerateMonitors();
  ASSERT_EQ(set.Count(), 3);
  for (const std::int32_t n : {1, 2}) {
    EXPECT_EQ(set[n].monitor, nullptr);
    EXPECT_EQ(PlaceOf(set[n]), (Place{0, 0, 0, 0}));
    EXPECT_EQ(set[n].reserved, -1);
    EXPECT_FALSE(set[n].primary);
  }
  EXPECT_STREQ(set[1].adapterName, "Adapter D");
}

// The system finds an empty rectangle at the origin on the primary monitor, which a
// window there would cover.
TEST(Monitors, ADeviceOfUnknownPlaceKeepsARecordWithoutAMonitor) {
  Devices devices({{"A", kPrimary, 0, 0, 640, 480},
                   {"B", kAttached, 640, 0, 640, 480},
                   {"C", kAttached, 1280, 0, 0, 480},
                   {"D", kAttached, 1280, 0, 640, 0}});
  devices.withoutSettings = {"B"};
  ChildWindowSet set;
  set.EnumerateMonitors();
  ASSERT_EQ(set.Count(), 4);
  for (const std::int32_t n : {1, 2, 3}) {
    EXPECT_EQ(set[n].monitor, nullptr) << n;
    EXPECT_EQ(PlaceOf(set[n]), (Place{0, 0, 0, 0})) << n;
    EXPECT_EQ(set[n].reserved, -1) << n;
  }
  EXPECT_THAT(devices.placesAsked, ElementsAre(Place{0, 0, 640, 480}));
}

TEST(Monitors, APrimaryDeviceOfUnknownPlaceIsPrimaryAllTheSame) {
  Devices devices({{"A", kPrimary, 0, 0, 640, 480}});
  devices.withoutSettings = {"A"};
  ChildWindowSet set;
  set.EnumerateMonitors();
  EXPECT_TRUE(set[0].primary);
  EXPECT_EQ(set[0].monitor, nullptr);
}

std::vector<Device> ManyDevices(std::size_t count) {
  std::vector<Device> devices;
  for (std::size_t n = 0; n < count; ++n)
    devices.push_back({std::to_string(n), n == 0 ? kPrimary : kAttached,
                       static_cast<LONG>(100 * n), 0, 100, 100});
  return devices;
}

TEST(Monitors, ATenthDeviceIsNotRead) {
  Devices devices(ManyDevices(12));
  ChildWindowSet set;
  set.EnumerateMonitors();
  EXPECT_EQ(set.Count(), 9);
  EXPECT_STREQ(set[8].adapterName, "Adapter 8");
  EXPECT_EQ(*devices.indicesAsked.rbegin(), 8u);
}

TEST(Monitors, MirrorDriversDoNotCountToTheNine) {
  std::vector<Device> list = ManyDevices(9);
  list.insert(list.begin() + 3, {"M", kMirror, 0, 0, 1, 1});
  Devices devices(list);
  ChildWindowSet set;
  set.EnumerateMonitors();
  EXPECT_EQ(set.Count(), 9);
  EXPECT_STREQ(set[8].adapterName, "Adapter 8");
}

TEST(Monitors, ANameThatFillsItsFieldIsCut) {
  Devices devices({{"A", kPrimary, 0, 0, 1, 1}});
  devices.devices[0].name = "A";
  ChildWindowSet set;
  {
    HOOK_IMPORT(longName, "user32.dll", EnumDisplayDevicesA,
                [](LPCSTR, DWORD index, DISPLAY_DEVICEA* to, DWORD) -> BOOL {
                  std::memset(to->DeviceString, 'x', sizeof to->DeviceString);
                  return index == 0;
                });
    set.EnumerateMonitors();
  }
  EXPECT_EQ(std::string(set[0].adapterName), std::string(127, 'x'));
  EXPECT_EQ(std::string(set[0].monitorName), std::string(127, 'x'));
}

TEST(Monitors, EnumeratingAnewBeginsFromNothing) {
  ChildWindowSet set;
  {
    Devices devices(ManyDevices(4));
    set.EnumerateMonitors();
  }
  Devices devices(ManyDevices(2));
  set.EnumerateMonitors();
  EXPECT_EQ(set.Count(), 2);
}

// --- The windows ---

struct Creation {
  DWORD extendedStyle, style;
  std::string className, title;
  Place place;
  HWND parent;
  HINSTANCE instance;
  void* parameter;
};

HWND WindowNumber(std::size_t n) { return reinterpret_cast<HWND>(0x900 + n); }

// Windows that are only noted down; `failing` is the one that can't be made.
class NotedWindows {
 public:
  explicit NotedWindows(std::size_t failing = 0) : failing_(failing) {}

  std::vector<Creation> created;
  std::vector<std::pair<HWND, int>> shown;
  std::vector<HWND> destroyed;

 private:
  HWND Create(DWORD extendedStyle, LPCSTR className, LPCSTR title, DWORD style, int x, int y,
              int width, int height, HWND parent, HINSTANCE instance, void* parameter) {
    created.push_back({extendedStyle, style, className, title, {x, y, x + width, y + height},
                       parent, instance, parameter});
    return created.size() == failing_ ? nullptr : WindowNumber(created.size());
  }

  std::size_t failing_;
  support::LambdaHook<decltype(&CreateWindowExA),
                      std::function<HWND(DWORD, LPCSTR, LPCSTR, DWORD, int, int, int, int, HWND,
                                         HMENU, HINSTANCE, void*)>>
      createHook_{"user32.dll", "CreateWindowExA",
                  [this](DWORD extendedStyle, LPCSTR className, LPCSTR title, DWORD style, int x,
                         int y, int width, int height, HWND parent, HMENU, HINSTANCE instance,
                         void* parameter) {
                    return Create(extendedStyle, className, title, style, x, y, width, height,
                                  parent, instance, parameter);
                  }};
  support::LambdaHook<decltype(&ShowWindow), std::function<BOOL(HWND, int)>> showHook_{
      "user32.dll", "ShowWindow", [this](HWND window, int show) -> BOOL {
        shown.emplace_back(window, show);
        return TRUE;
      }};
  support::LambdaHook<decltype(&DestroyWindow), std::function<BOOL(HWND)>> destroyHook_{
      "user32.dll", "DestroyWindow", [this](HWND window) -> BOOL {
        destroyed.push_back(window);
        return TRUE;
      }};
};

// The primary monitor, two further ones, and a detached device between them.
std::vector<Device> ThreeMonitors() {
  return {{"A", kPrimary, 0, 0, 1024, 768},
          {"B", kAttached, 1024, 0, 800, 600},
          {"D", 0, 0, 0, 640, 480},
          {"C", kAttached, -640, 100, 640, 480}};
}

class MonitorWindows : public testing::Test {
 protected:
  void Enumerate(const std::vector<Device>& list) {
    Devices devices(list);
    set.EnumerateMonitors();
  }

  HWND parent = reinterpret_cast<HWND>(0x77);
  HINSTANCE instance = reinterpret_cast<HINSTANCE>(0x88);
  ChildWindowSet set;
};

struct Move {
  HWND window, after;
  Place place;
  UINT flags;
};

// Notes the moves of AdjustChildWindows; `present` is where each monitor is by
// now, and nothing if the system can't tell.
std::vector<Move> MovesOf(ChildWindowSet& set, std::optional<RECT> present) {
  std::vector<Move> moves;
  HOOK_IMPORT(info, "user32.dll", GetMonitorInfoA,
              [&](HMONITOR monitor, LPMONITORINFO to) -> BOOL {
                EXPECT_EQ(to->cbSize, 40u);
                EXPECT_NE(monitor, nullptr);
                if (present) to->rcMonitor = *present;
                return present.has_value();
              });
  HOOK_IMPORT(move, "user32.dll", SetWindowPos,
              [&](HWND window, HWND after, int x, int y, int width, int height,
                  UINT flags) -> BOOL {
                moves.push_back({window, after, {x, y, x + width, y + height}, flags});
                return TRUE;
              });
  set.AdjustChildWindows();
  return moves;
}

TEST_F(MonitorWindows, EachFurtherMonitorIsCoveredByATopmostPopup) {
  Enumerate(ThreeMonitors());
  NotedWindows windows;
  EXPECT_EQ(set.CreateChildWindows(parent, instance, "SomeClass", "Some title"), 0);
  ASSERT_EQ(windows.created.size(), 2u);
  for (const Creation& creation : windows.created) {
    EXPECT_EQ(creation.extendedStyle, static_cast<DWORD>(WS_EX_TOPMOST));
    EXPECT_EQ(creation.style, WS_POPUP | WS_VISIBLE);
    EXPECT_EQ(creation.className, "SomeClass");
    EXPECT_EQ(creation.title, "Some title");
    EXPECT_EQ(creation.parent, parent);
    EXPECT_EQ(creation.instance, instance);
    EXPECT_EQ(creation.parameter, &set);
  }
  EXPECT_EQ(windows.created[0].place, (Place{1024, 0, 1824, 600}));
  EXPECT_EQ(windows.created[1].place, (Place{-640, 100, 0, 580}));
  EXPECT_EQ(set[0].window, nullptr);
  EXPECT_EQ(set[1].window, WindowNumber(1));
  EXPECT_EQ(set[2].window, nullptr);
  EXPECT_EQ(set[3].window, WindowNumber(2));
}

TEST_F(MonitorWindows, NoneIsMadeForADeviceOfUnknownPlace) {
  Enumerate({{"A", kPrimary, 0, 0, 1024, 768}, {"B", kAttached, 0, 0, 0, 0}});
  NotedWindows windows;
  EXPECT_EQ(set.CreateChildWindows(parent, instance, "C", "t"), 0);
  EXPECT_THAT(windows.created, IsEmpty());
}

TEST_F(MonitorWindows, TheFirstThatCannotBeMadeEndsTheWalk) {
  Enumerate(ManyDevices(5));
  NotedWindows windows(2);
  EXPECT_EQ(set.CreateChildWindows(parent, instance, "C", "t"), static_cast<HRESULT>(0x80004005));
  EXPECT_EQ(windows.created.size(), 2u);
  EXPECT_EQ(set[1].window, WindowNumber(1));
  EXPECT_EQ(set[2].window, nullptr);
  EXPECT_EQ(set[3].window, nullptr);
  const std::vector<Move> moves = MovesOf(set, RECT{1, 2, 3, 4});
  ASSERT_EQ(moves.size(), 1u);
  EXPECT_EQ(moves[0].window, WindowNumber(1));
  set.ShowChildWindows(SW_SHOW);
  EXPECT_THAT(windows.shown, ElementsAre(std::pair(WindowNumber(1), SW_SHOW)));
}

TEST_F(MonitorWindows, AllAreShownAndHidden) {
  Enumerate(ThreeMonitors());
  NotedWindows windows;
  set.CreateChildWindows(parent, instance, "C", "t");
  set.ShowChildWindows(SW_SHOWMAXIMIZED);
  set.ShowChildWindows(SW_HIDE);
  EXPECT_THAT(windows.shown, ElementsAre(std::pair(WindowNumber(1), SW_SHOWMAXIMIZED),
                                         std::pair(WindowNumber(2), SW_SHOWMAXIMIZED),
                                         std::pair(WindowNumber(1), SW_HIDE),
                                         std::pair(WindowNumber(2), SW_HIDE)));
}

TEST_F(MonitorWindows, AreDestroyedOnce) {
  Enumerate(ThreeMonitors());
  NotedWindows windows;
  set.CreateChildWindows(parent, instance, "C", "t");
  set.DestroyChildWindows();
  EXPECT_THAT(windows.destroyed, ElementsAre(WindowNumber(1), WindowNumber(2)));
  EXPECT_EQ(set[1].window, nullptr);
  EXPECT_EQ(set[3].window, nullptr);
  set.DestroyChildWindows();
  EXPECT_EQ(windows.destroyed.size(), 2u);
}

// The first record is taken to be the primary device.
TEST_F(MonitorWindows, TheFirstRecordsWindowIsNotDestroyed) {
  Enumerate({{"B", kAttached, 1024, 0, 800, 600}, {"A", kPrimary, 0, 0, 1024, 768}});
  NotedWindows windows;
  set.CreateChildWindows(parent, instance, "C", "t");
  EXPECT_EQ(set[0].window, WindowNumber(1));
  set.DestroyChildWindows();
  EXPECT_THAT(windows.destroyed, IsEmpty());
}

TEST_F(MonitorWindows, AreBroughtToTheirMonitorsPresentPlace) {
  Enumerate({{"A", kPrimary, 0, 0, 1024, 768}, {"B", kAttached, 1024, 0, 800, 600}});
  NotedWindows windows;
  set.CreateChildWindows(parent, instance, "C", "t");
  const auto moves = MovesOf(set, RECT{640, 10, 1440, 610});
  ASSERT_EQ(moves.size(), 1u);
  EXPECT_EQ(moves[0].window, WindowNumber(1));
  EXPECT_EQ(moves[0].after, HWND_TOPMOST);
  EXPECT_EQ(moves[0].place, (Place{640, 10, 1440, 610}));
  EXPECT_EQ(moves[0].flags, static_cast<UINT>(SWP_NOACTIVATE));
  EXPECT_EQ(PlaceOf(set[1]), (Place{640, 10, 1440, 610}));
}

TEST_F(MonitorWindows, KeepTheirPlaceIfTheSystemCannotTellIt) {
  Enumerate({{"A", kPrimary, 0, 0, 1024, 768}, {"B", kAttached, 1024, 0, 800, 600}});
  NotedWindows windows;
  set.CreateChildWindows(parent, instance, "C", "t");
  const auto moves = MovesOf(set, std::nullopt);
  ASSERT_EQ(moves.size(), 1u);
  EXPECT_EQ(moves[0].place, (Place{1024, 0, 1824, 600}));
}

TEST_F(MonitorWindows, AnEmptySetDoesNothing) {
  NotedWindows windows;
  EXPECT_EQ(set.CreateChildWindows(parent, instance, "C", "t"), 0);
  EXPECT_TRUE(MovesOf(set, RECT{}).empty());
  set.ShowChildWindows(SW_SHOW);
  set.DestroyChildWindows();
  set.CopyToMonitors(nullptr, 10, 10);
  EXPECT_THAT(windows.created, IsEmpty());
  EXPECT_THAT(windows.shown, IsEmpty());
  EXPECT_THAT(windows.destroyed, IsEmpty());
}

// --- The picture on them ---

// Real windows on the one real monitor, in the places of two pretended ones.
class MonitorPictures : public MonitorWindows {
 protected:
  void SetUp() override {
    Enumerate({{"A", kPrimary, 0, 0, 1024, 768},
               {"B", kAttached, 50, 60, 64, 48},
               {"C", kAttached, 200, 60, 80, 30}});
    ASSERT_EQ(set.CreateChildWindows(nullptr, GetModuleHandleA(nullptr), "STATIC", ""), 0);
  }
  void TearDown() override { set.DestroyChildWindows(); }

  static support::Pixels Shown(const ChildMonitor& record) {
    const HDC dc = GetWindowDC(record.window);
    const support::Pixels pixels = support::ReadDc(dc, 0, 0, record.right - record.left,
                                                   record.bottom - record.top);
    ReleaseDC(record.window, dc);
    return pixels;
  }
};

support::Pattern FourColours() {
  return support::Quadrants(0xFF0000, 0x00FF00, 0x0000FF, 0xFFFF00);
}

void PaintPattern(const support::Canvas& canvas, int width, int height,
                  const support::Pattern& pattern) {
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const std::uint32_t colour = pattern(x, y, width, height);
      SetPixelV(canvas.Dc(), x, y, RGB(colour >> 16 & 255, colour >> 8 & 255, colour & 255));
    }
}

TEST_F(MonitorPictures, APictureOfTheirSizeIsRepeatedExactly) {
  const support::Canvas source(64, 48);
  PaintPattern(source, 64, 48, FourColours());
  set.CopyToMonitors(source.Dc(), 64, 48);
  EXPECT_TRUE(PixelsNear(Shown(set[1]), support::Render(64, 48, FourColours())));
}

TEST_F(MonitorPictures, AnyOtherPictureIsStretchedOverTheWholeWindow) {
  const support::Canvas source(32, 24);
  PaintPattern(source, 32, 24, FourColours());
  set.CopyToMonitors(source.Dc(), 32, 24);
  for (const std::int32_t n : {1, 2}) {
    const support::Pixels shown = Shown(set[n]);
    const int right = shown.width - 1;
    const int bottom = shown.height - 1;
    EXPECT_EQ(shown.At(0, 0), 0xFF0000u);
    EXPECT_EQ(shown.At(right, 0), 0x00FF00u);
    EXPECT_EQ(shown.At(0, bottom), 0x0000FFu);
    EXPECT_EQ(shown.At(right, bottom), 0xFFFF00u);
    EXPECT_EQ(shown.At(right / 4, bottom / 4), 0xFF0000u);
    EXPECT_EQ(shown.At(right * 3 / 4, bottom * 3 / 4), 0xFFFF00u);
  }
}

TEST_F(MonitorPictures, OnlyTheGivenPartOfTheSourceIsTaken) {
  const support::Canvas source(64, 48, 0xFF00FF);
  PaintPattern(source, 32, 24, FourColours());
  set.CopyToMonitors(source.Dc(), 32, 24);
  EXPECT_EQ(Shown(set[1]).At(63, 47), 0xFFFF00u);
}

TEST_F(MonitorPictures, ALostWindowIsPassedOver) {
  DestroyWindow(set[1].window);
  const support::Canvas source(80, 30, 0x123456);
  set.CopyToMonitors(source.Dc(), 80, 30);
  EXPECT_TRUE(PixelsNear(Shown(set[2]), support::Pixels(80, 30, 0x123456)));
}

TEST_F(MonitorPictures, NothingIsLeaked) {
  const support::Canvas source(64, 48);
  set.CopyToMonitors(source.Dc(), 64, 48);
  const support::GdiGauge gauge;
  for (int n = 0; n < 50; ++n) set.CopyToMonitors(source.Dc(), 64, 48);
  EXPECT_EQ(gauge.Leaked(), 0);
}

TEST_F(MonitorPictures, SmoothStretchingIsAskedFor) {
  int mode = 0;
  HOOK_IMPORT(hook, "gdi32.dll", SetStretchBltMode, [&](HDC dc, int wanted) {
    mode = wanted;
    return REAL_IMPORT("gdi32.dll", SetStretchBltMode)(dc, wanted);
  });
  const support::Canvas source(64, 48);
  set.CopyToMonitors(source.Dc(), 64, 48);
  EXPECT_EQ(mode, HALFTONE);
}

}  // namespace
