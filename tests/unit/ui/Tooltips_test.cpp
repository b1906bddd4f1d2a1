#include "ControlHost.h"
#include "support/ImportHook.h"
#include "ui/Tooltips.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

using namespace support;

namespace {

class TooltipTest : public testing::Test {
 protected:
  struct Tool {
    TOOLINFOA info{};
    std::string text;
  };
  // The one tool of a tooltip.
  static Tool ToolOf(HWND tip) {
    Tool tool;
    std::array<char, 512> text{};
    tool.info.cbSize = TTTOOLINFOA_V2_SIZE;
    tool.info.lpszText = text.data();
    SendMessageA(tip, TTM_ENUMTOOLSA, 0, reinterpret_cast<LPARAM>(&tool.info));
    tool.text = text.data();
    return tool;
  }
  HWND Make(const char* text, const char* title = nullptr, int autoPopTime = -1,
            DWORD style = 0, UINT flags = 0) const {
    return CreateTooltip(button, text, 250, style, flags, 1, title, autoPopTime);
  }

  ControlHost host;
  HWND button = host.AddButton(5, 30, 40, 100, 20);
};

TEST_F(TooltipTest, ItHasOneToolForTheWholeControl) {
  const HWND tip = Make("Play built-in music");
  EXPECT_EQ(SendMessageA(tip, TTM_GETTOOLCOUNT, 0, 0), 1);
  const Tool tool = ToolOf(tip);
  EXPECT_EQ(tool.text, "Play built-in music");
  EXPECT_EQ(tool.info.hwnd, button);
  EXPECT_EQ(tool.info.uId, 0u);
  EXPECT_EQ(tool.info.uFlags, static_cast<UINT>(TTF_SUBCLASS));
  EXPECT_EQ(tool.info.rect.right, 100);
  EXPECT_EQ(tool.info.rect.bottom, 20);
}

TEST_F(TooltipTest, ItsWindowIsATopmostPopupOfTheControlsDialog) {
  const HWND tip = Make("x", nullptr, -1, TTS_BALLOON);
  std::array<char, 64> name{};
  GetClassNameA(tip, name.data(), name.size());
  EXPECT_STREQ(name.data(), "tooltips_class32");
  const DWORD style = GetWindowLongA(tip, GWL_STYLE);
  EXPECT_TRUE(style & WS_POPUP);
  EXPECT_TRUE(style & TTS_ALWAYSTIP);
  EXPECT_TRUE(style & TTS_NOPREFIX);
  EXPECT_TRUE(style & TTS_BALLOON);
  EXPECT_TRUE(GetWindowLongA(tip, GWL_EXSTYLE) & WS_EX_TOPMOST);
  EXPECT_EQ(GetWindow(tip, GW_OWNER), host.Window());
  EXPECT_FALSE(IsWindowVisible(tip));
}

TEST_F(TooltipTest, ItIsAsWideAsTold) {
  EXPECT_EQ(SendMessageA(Make("x"), TTM_GETMAXTIPWIDTH, 0, 0), 250);
}

TEST_F(TooltipTest, EachCallInitialisesTheCommonControls) {
  std::vector<INITCOMMONCONTROLSEX> asked;
  HOOK_IMPORT(note, "comctl32.dll", InitCommonControlsEx,
              [&](const INITCOMMONCONTROLSEX* record) -> BOOL {
                asked.push_back(*record);
                return TRUE;
              });
  Make("x");
  Make("y");
  ASSERT_EQ(asked.size(), 2u);
  EXPECT_EQ(asked[0].dwSize, 8u);
  EXPECT_EQ(asked[0].dwICC, 255u);
}

// The messages that a tooltip gets while it is made.
struct Sent {
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  UINT size = 0;  // of the tool's record
};

TEST_F(TooltipTest, TitleAndTimeAreSetOnlyWhenGiven) {
  std::vector<Sent> sent;
  HOOK_IMPORT(note, "user32.dll", SendMessageA,
              [&](HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
                sent.push_back({message, wParam, lParam});
                if (message == TTM_ADDTOOLA)
                  sent.back().size = reinterpret_cast<const TOOLINFOA*>(lParam)->cbSize;
                return REAL_IMPORT("user32.dll", SendMessageA)(hwnd, message, wParam, lParam);
              });
  Make("x");
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[0].message, static_cast<UINT>(TTM_ADDTOOLA));
  EXPECT_EQ(sent[0].size, 44u);
  EXPECT_EQ(sent[1].message, static_cast<UINT>(TTM_SETMAXTIPWIDTH));
  EXPECT_EQ(sent[1].lParam, 250);
  sent.clear();
  Make("x", "Title", 0x12345);
  ASSERT_EQ(sent.size(), 4u);
  EXPECT_EQ(sent[2].message, static_cast<UINT>(TTM_SETTITLEA));
  EXPECT_EQ(sent[2].wParam, 1u);
  EXPECT_STREQ(reinterpret_cast<const char*>(sent[2].lParam), "Title");
  EXPECT_EQ(sent[3].message, static_cast<UINT>(TTM_SETDELAYTIME));
  EXPECT_EQ(sent[3].wParam, static_cast<WPARAM>(TTDT_AUTOPOP));
  EXPECT_EQ(sent[3].lParam, 0x2345);
}

TEST_F(TooltipTest, ItsFlagsJoinItsOwn) {
  EXPECT_EQ(ToolOf(Make("x", nullptr, -1, 0, TTF_CENTERTIP)).info.uFlags,
            static_cast<UINT>(TTF_SUBCLASS | TTF_CENTERTIP));
}

// --- TrackingTooltip ---

TEST(TrackingTooltip, ShowsWhereItIsToldTo) {
  TrackingTooltip tip;
  tip.Create("here", 250, 0, 0, nullptr);
  ASSERT_TRUE(IsWindow(tip.Window()));
  EXPECT_EQ(GetWindow(tip.Window(), GW_OWNER), nullptr);
  EXPECT_FALSE(IsWindowVisible(tip.Window()));
  tip.ShowAt(200, 150);
  EXPECT_TRUE(IsWindowVisible(tip.Window()));
  RECT first{};
  GetWindowRect(tip.Window(), &first);
  tip.MoveTo(230, 190);
  RECT second{};
  GetWindowRect(tip.Window(), &second);
  EXPECT_EQ(second.left - first.left, 30);
  EXPECT_EQ(second.top - first.top, 40);
  tip.Hide();
  EXPECT_FALSE(IsWindowVisible(tip.Window()));
  tip.Show();
  EXPECT_TRUE(IsWindowVisible(tip.Window()));
}

TEST(TrackingTooltip, ANewOneTakesTheEarlierOnesPlace) {
  TrackingTooltip tip;
  tip.Create("one", 250, 0, 0, nullptr);
  const HWND first = tip.Window();
  tip.Create("two", 250, TTS_BALLOON, 1, "Title");
  EXPECT_FALSE(IsWindow(first));
  EXPECT_TRUE(IsWindow(tip.Window()));
}

TEST(TrackingTooltip, DestroyTakesTheWindowAndMayBeRepeated) {
  TrackingTooltip tip;
  tip.Destroy();
  tip.Create("one", 250, 0, 0, nullptr);
  const HWND window = tip.Window();
  tip.Destroy();
  EXPECT_FALSE(IsWindow(window));
  EXPECT_EQ(tip.Window(), nullptr);
  tip.Destroy();
  tip.Hide();
}

TEST(TrackingTooltip, AnObjectThatGoesTakesItsWindowAlong) {
  HWND window = nullptr;
  {
    TrackingTooltip tip;
    tip.Create("one", 250, 0, 0, nullptr);
    window = tip.Window();
  }
  EXPECT_FALSE(IsWindow(window));
}

}  // namespace
