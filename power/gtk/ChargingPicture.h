#ifndef POWER_CHARGING_PICTURE_H
#define POWER_CHARGING_PICTURE_H

#include <gtk/gtk.h>

/// The picture of a battery that is being charged, out of that of a full one: its filling is what
/// is green. From left to right, the filling ends where the charge (0 to 100 %) does; what stands
/// before it, such as the bolt, stays. The caller unreferences the picture. Null without memory for
/// it.
GdkPixbuf* ChargingPicture_create(const GdkPixbuf* full, int charge_percent);

#endif
