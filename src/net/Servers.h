#pragma once
// Where the maker's servers stand. Values of deployment, given to the build.

// The host that is asked for updates: the name alone. VELMORA_UPDATE_HOST.
extern const char kUpdateHost[];
