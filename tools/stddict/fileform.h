// Which form a dictionary file has.
#ifndef TOOLS_STDDICT_FILEFORM_H
#define TOOLS_STDDICT_FILEFORM_H

#include <string>

// "image" or "extract", by the first byte. Empty for what is no regular file: a pipe gives its
// bytes but once.
std::string fileFormOf(const std::string& path);

#endif  // TOOLS_STDDICT_FILEFORM_H
