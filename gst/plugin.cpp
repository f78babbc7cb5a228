#include <gst/gst.h>

#include "kestrixmotion.h"

#ifndef PACKAGE
#define PACKAGE "kestrix"
#endif

static gboolean pluginInit(GstPlugin *plugin) {
    return gst_element_register(plugin, "kestrixmotion", GST_RANK_NONE, KESTRIX_TYPE_MOTION);
}

GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, kestrix, "Kestrix zone motion, exposure advice and overlays",
                  pluginInit, KX_VERSION, "Proprietary", "Kestrix", "Kestrix")
