#include "net/WebLink.h"

#include "base/win.h"
#include "net/Servers.h"
#include "support/ImportHook.h"

#include <gtest/gtest.h>

#include <shellapi.h>
#include <string>
#include <vector>

namespace {

TEST(WebLink, AddressesBeginWithTheirScheme) {
  EXPECT_TRUE(IsWebAddress("http://example.invalid/get?a=b&c=%20#d"));
  EXPECT_TRUE(IsWebAddress("https://example.invalid"));
  EXPECT_TRUE(IsWebAddress("HTTPS://example.invalid/(x)~'*!$,;@[1]"));
}

TEST(WebLink, AnythingElseIsNoAddress) {
  for (const char* text :
       {"", "calc.exe", "C:\\windows\\system32\\calc.exe", "\\\\host\\share\\x.exe", "file:///c:/x",
        "ftp://example.invalid", "javascript:alert(1)", " http://example.invalid",
        "xhttp://example.invalid", "http:/example.invalid", "http:example", "http://", "https://",
        "ms-settings:"})
    EXPECT_FALSE(IsWebAddress(text)) << text;
  EXPECT_FALSE(IsWebAddress(nullptr));
}

TEST(WebLink, AnAddressHoldsNoCharactersThatEndIt) {
  for (const char* text : {"http://x\" --flag", "http://x y", "http://x\ty", "http://x\ny",
                           "http://x\\y", "http://x<y", "http://x>y", "http://x\x80", "http://x^y",
                           "http://x|y", "http://x`y", "http://x\x7f"})
    EXPECT_FALSE(IsWebAddress(text)) << text;
}

TEST(WebLink, OpensAddressesAndNothingElse) {
  std::vector<std::string> opened;
  HOOK_IMPORT(shell, "shell32.dll", ShellExecuteA,
              [&](HWND window, LPCSTR verb, LPCSTR file, LPCSTR arguments, LPCSTR folder,
                  INT show) -> HINSTANCE {
                EXPECT_FALSE(window || verb || arguments || folder);
                EXPECT_EQ(show, SW_MAXIMIZE);
                opened.push_back(file);
                return nullptr;
              });
  EXPECT_TRUE(OpenWebPage("http://example.invalid/x"));
  EXPECT_FALSE(OpenWebPage("calc.exe"));
  EXPECT_FALSE(OpenWebPage(""));
  EXPECT_FALSE(OpenWebPage(nullptr));
  EXPECT_EQ(opened, std::vector<std::string>{"http://example.invalid/x"});
}

TEST(Servers, TheHostIsANameWithoutAScheme) {
  const std::string host = kUpdateHost;
  EXPECT_FALSE(host.empty());
  EXPECT_EQ(host.find_first_of("/: "), std::string::npos);
}

}  // namespace
