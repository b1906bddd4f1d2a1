#include "ui/WebSite.h"

#include "base/win.h"
#include "ui/Product.h"

#include <shellapi.h>
#include <string>

const char kWebSite[] = VELMORA_WEB_SITE;

void OpenWebSite(const char* path) {
  const std::string address = std::string(kWebSite) + path;
  ShellExecuteA(nullptr, nullptr, address.c_str(), nullptr, nullptr, SW_MAXIMIZE);
}

void OpenWebSiteRoot() { OpenWebSite("/"); }

void OpenSupportPage() { OpenWebSite("/support/"); }

void OpenSpecialsPage() {
  const std::string query = std::string("?appName=") + kProductName + "&version=" + kVersionText;
  OpenWebSite(("/specials.htm" + query).c_str());
}
