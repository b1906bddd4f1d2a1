#include "ui/ModeListBox.h"

#include "graphics/DisplayModes.h"
#include "graphics/cGameError.h"
#include "graphics/cGraphicsLayer.h"
#include "settings/Settings.h"

#include <memory>
#include <string>

namespace {

std::unique_ptr<DisplayModeList> modeList;  // the list box's item data point into it

int AddRow(HWND list, const char* text, const DISPMODE* mode) {
  const auto row =
      static_cast<int>(SendMessageA(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text)));
  SendMessageA(list, LB_SETITEMDATA, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(mode));
  return row;
}

void SelectRow(HWND list, int row) {
  SendMessageA(list, LB_SETCURSEL, static_cast<WPARAM>(row), 0);
}

// What goes wrong here only shortens the list.
void CreateLayer(HWND dialog) {
  try {
    cGraphicsLayer::CreateDDrawOnly(dialog);
  } catch (const cGameError&) {
  }
}

void CollectModes() {
  modeList = std::make_unique<DisplayModeList>();
  modeList->minWidth = 640;
  modeList->minHeight = 480;
  modeList->minDepth = 16;
  modeList->excludedDepth = 24;
  if (!gGraphicsLayer || gGraphicsLayer->HasFailed()) return;
  modeList->Collect(gGraphicsLayer->GetDDraw());
  modeList->Sort();
}

bool IsRequested(const DISPMODE& mode) {
  return static_cast<std::int32_t>(mode.width) == ss->DispModeWidth &&
         static_cast<std::int32_t>(mode.height) == ss->DispModeHeight &&
         static_cast<std::int32_t>(mode.depth) == ss->DispModeBits;
}

}  // namespace

int FillModeList(HWND dialog, HWND list) {
  int selected = AddRow(list, "No change", nullptr);
  SelectRow(list, selected);
  CreateLayer(dialog);
  CollectModes();
  if (!modeList->modes.First()) return selected;
  do {
    const DISPMODE* mode = modeList->modes.Current();
    const int row = AddRow(list, mode->label.str().c_str(), mode);
    if (!IsRequested(*mode)) continue;
    SelectRow(list, row);
    selected = row;
  } while (modeList->modes.Next());
  return selected;
}

void TakeSelectedMode(HWND list) {
  const LRESULT row = SendMessageA(list, LB_GETCURSEL, 0, 0);
  if (row == LB_ERR) return;
  const LRESULT data = SendMessageA(list, LB_GETITEMDATA, static_cast<WPARAM>(row), 0);
  const DISPMODE noChange;
  const DISPMODE& mode = data ? *reinterpret_cast<const DISPMODE*>(data) : noChange;
  ss->DispModeWidth = static_cast<std::int32_t>(mode.width);
  ss->DispModeHeight = static_cast<std::int32_t>(mode.height);
  ss->DispModeBits = static_cast<std::int32_t>(mode.depth);
}

void ReleaseModeList() {
  delete gGraphicsLayer;
  modeList.reset();
}
