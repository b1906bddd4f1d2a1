#pragma once
// What the dialogs, reports of crashes and the programs' own resources call this
// program. The resource compiler reads the names in capitals.

#define VELMORA_PRODUCT "Velmora 2"
#define VELMORA_VERSION "1.0"
#define VELMORA_VERSION_NUMBERS 1, 0, 0, 0

#ifndef RC_INVOKED
inline constexpr char kProductName[] = VELMORA_PRODUCT;
inline constexpr char kVersionText[] = VELMORA_VERSION;
#endif
