#ifndef FLEET_CORE_METER_PICTURE_H
#define FLEET_CORE_METER_PICTURE_H

#include <string>
#include <string_view>

/// A meter's screen, as the meter sends it: texts and bytes only, no sockets.

struct MeterPicture {
    std::string received;
};

enum class MeterPictureStep {
    waits, ///< for more bytes
    done,
    none,   ///< the meter has no picture
    broken, ///< what came is no answer
};

/// What is asked of a meter. As in a poll, its identity marks the end.
std::string MeterPicture_request();

/// Takes bytes that came at a time; `png` is the file when it is done.
MeterPictureStep MeterPicture_receive(MeterPicture& picture, std::string_view bytes,
                                      std::string& png);

#endif
