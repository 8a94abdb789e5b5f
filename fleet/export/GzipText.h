#ifndef FLEET_EXPORT_GZIP_TEXT_H
#define FLEET_EXPORT_GZIP_TEXT_H

#include <string>
#include <string_view>

/// The text as a gzip file; "" without the memory for it.
std::string GzipText_make(std::string_view text);

#endif
