#include "ToolAnswer.h"

#include <cstdio>

int ToolAnswer_fail(const std::string& why) {
    fprintf(stderr, "quorvel-bench: %s\n", why.c_str());
    return 1;
}

int ToolAnswer_usage(const std::string& text) {
    return ToolAnswer_fail("usage: quorvel-bench " + text);
}
