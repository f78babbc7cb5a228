// kestrixmotion: zone motion, exposure advice and the paint's overlays on a BGR stream, with
// element messages on the bus.
#pragma once

#include <gst/video/gstvideofilter.h>

G_BEGIN_DECLS

#define KESTRIX_TYPE_MOTION (kestrix_motion_get_type())
G_DECLARE_FINAL_TYPE(KestrixMotion, kestrix_motion, KESTRIX, MOTION, GstVideoFilter)

G_END_DECLS
