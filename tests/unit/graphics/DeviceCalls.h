#pragma once
// Notes what is asked of a device.

#include "graphics/DirectX7.h"
#include "support/MethodHook.h"

#include <string>
#include <type_traits>
#include <vector>

namespace graphics_test {

// What `action` asks of the device, in order: materials as `describe` puts them,
// "state TYPE VALUE", "stage TYPE VALUE", and "scene" for the beginning of one. An
// action that takes the list may add what else it notes. Devices share their methods:
// any will do.
template <class Action>
std::vector<std::string> DeviceCallsOf(IDirect3DDevice7* device,
                                       std::string (*describe)(const D3DMATERIAL7& material),
                                       Action action) {
  std::vector<std::string> calls;
  const auto note = [&](const char* what, DWORD type, DWORD value) {
    calls.push_back(std::string(what) + " " + std::to_string(type) + " " + std::to_string(value));
  };
  HOOK_METHOD(material, device, &IDirect3DDevice7::SetMaterial,
              [&](auto real, IDirect3DDevice7* self, D3DMATERIAL7* value) {
                calls.push_back(describe(*value));
                return real(self, value);
              });
  HOOK_METHOD(state, device, &IDirect3DDevice7::SetRenderState,
              [&](auto real, IDirect3DDevice7* self, D3DRENDERSTATETYPE type, DWORD value) {
                note("state", type, value);
                return real(self, type, value);
              });
  HOOK_METHOD(stage, device, &IDirect3DDevice7::SetTextureStageState,
              [&](auto real, IDirect3DDevice7* self, DWORD number, D3DTEXTURESTAGESTATETYPE type,
                  DWORD value) {
                note("stage", type, value);
                return real(self, number, type, value);
              });
  HOOK_METHOD(scene, device, &IDirect3DDevice7::BeginScene,
              [&](auto real, IDirect3DDevice7* self) {
                calls.push_back("scene");
                return real(self);
              });
  if constexpr (std::is_invocable_v<Action, std::vector<std::string>&>)
    action(calls);
  else
    action();
  return calls;
}

}  // namespace graphics_test
