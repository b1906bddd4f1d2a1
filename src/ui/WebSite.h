#pragma once
// The maker's web site, opened in the user's browser, maximised.

// The site's address without a slash at its end; VELMORA_WEB_SITE of the build.
extern const char kWebSite[];

// `path` begins with a slash.
void OpenWebSite(const char* path);
void OpenWebSiteRoot();
void OpenSupportPage();
// The page is told which program and version asks.
void OpenSpecialsPage();
