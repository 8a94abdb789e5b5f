#ifndef FLEET_LINK_BASE64_H
#define FLEET_LINK_BASE64_H

#include <string>

/// A text as names and passwords are given over HTTP.
std::string Base64_encode(std::string text);

#endif
