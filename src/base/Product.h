#pragma once
// What the dialogs, and reports of crashes, call this program.

inline constexpr char kProductName[] = "Velmora 2";
inline constexpr char kVersionText[] = "1.0";
