#pragma once
// Opens pages in the user's browser. The address may come from a server, and the
// shell would start any program that it names.

// True for text that begins with "http://" or "https://", in any case, and holds
// nothing but the characters that an address may be made of. A quote, for one,
// would end the address on a browser's command line.
bool IsWebAddress(const char* text);

// Opens `address` in a maximised browser. False, and nothing done, unless it is a
// web address.
bool OpenWebPage(const char* address);
