#include "ui/WebSite.h"

#include "base/Product.h"
#include "base/win.h"

#include <shellapi.h>
#include <string>
#include <string_view>

const char kWebSite[] = VELMORA_WEB_SITE;

// The shell would start any program that it is given the name of.
static_assert(std::string_view(VELMORA_WEB_SITE).starts_with("http://") ||
                  std::string_view(VELMORA_WEB_SITE).starts_with("https://"),
              "VELMORA_WEB_SITE is an address of a web page");

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
