#include "Base64.h"

#include <boost/archive/iterators/base64_from_binary.hpp>
#include <boost/archive/iterators/transform_width.hpp>

std::string Base64_encode(std::string text) {
    namespace iterators = boost::archive::iterators;
    using Encoder = iterators::base64_from_binary<
        iterators::transform_width<std::string::const_iterator, 6, 8>>;
    const size_t length = (text.size() * 4 + 2) / 3;
    const size_t padding = (3 - text.size() % 3) % 3;
    text.append(padding, '\0');
    std::string encoded(Encoder(text.cbegin()), Encoder(text.cend()));
    encoded.resize(length);
    return encoded.append(padding, '=');
}
