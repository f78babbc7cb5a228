/* Reads kestrixmotion's messages from the bus of a pipeline, given as in gst-launch-1.0, or a test
 * pattern when none is given, and prints them until the end of the stream.
 *
 *   cc -o gst_example gst_example.c $(pkg-config --cflags --libs gstreamer-1.0)
 *   GST_PLUGIN_PATH=/opt/kestrix/lib/gstreamer-1.0 ./gst_example
 */
#include <gst/gst.h>

#define DEFAULT_PIPELINE                                                                        \
    "videotestsrc num-buffers=100 pattern=ball ! video/x-raw,format=BGR,width=320,height=240 "  \
    "! kestrixmotion zones=0,0,160,240;160,0,320,240 gap=200000000 exposure=true shutter-width=1200 " \
    "! fakesink"

int main(int argc, char **argv) {
    GError *error = NULL;
    gst_init(&argc, &argv);
    GstElement *pipeline = gst_parse_launch(argc > 1 ? argv[1] : DEFAULT_PIPELINE, &error);
    if (!pipeline) {
        g_printerr("pipeline: %s\n", error->message);
        return 1;
    }
    GstBus *bus = gst_element_get_bus(pipeline);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    int status = 0, camera[3] = {0, 0, 0};
    for (;;) {
        GstMessage *message = gst_bus_timed_pop_filtered(
            bus, GST_CLOCK_TIME_NONE, GST_MESSAGE_ELEMENT | GST_MESSAGE_EOS | GST_MESSAGE_ERROR);
        if (GST_MESSAGE_TYPE(message) != GST_MESSAGE_ELEMENT) {
            status = GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR;
            gst_message_unref(message);
            break;
        }
        const GstStructure *s = gst_message_get_structure(message);
        guint64 time = 0;
        gst_structure_get_uint64(s, "running-time", &time);
        if (gst_structure_has_name(s, "kestrix-motion")) {
            gint zone = 0;
            gst_structure_get_int(s, "zone", &zone);
            g_print("%" GST_TIME_FORMAT " zone %d %s\n", GST_TIME_ARGS(time), zone,
                    gst_structure_get_string(s, "event"));
        } else if (gst_structure_has_name(s, "kestrix-exposure")) {
            gint luminance = 0, gain = 0, shutter = 0, stage = 0;
            gst_structure_get(s, "luminance", G_TYPE_INT, &luminance, "gain", G_TYPE_INT, &gain, "shutter",
                              G_TYPE_INT, &shutter, "stage", G_TYPE_INT, &stage, NULL);
            /* Here an application sends gain, shutter and stage to the camera when they move. */
            if (gain != camera[0] || shutter != camera[1] || stage != camera[2]) {
                g_print("%" GST_TIME_FORMAT " luminance %d: gain %d, shutter %d, stage %d\n", GST_TIME_ARGS(time),
                        luminance, gain, shutter, stage);
                camera[0] = gain, camera[1] = shutter, camera[2] = stage;
            }
        }
        gst_message_unref(message);
    }
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(bus);
    gst_object_unref(pipeline);
    return status;
}
