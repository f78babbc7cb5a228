#include "kestrixmotion.h"

#include <kestrix.h>

#include <gst/video/video.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "overlay.h"
#include "zones.h"

GST_DEBUG_CATEGORY_STATIC(kestrix_motion_debug);
#define GST_CAT_DEFAULT kestrix_motion_debug

namespace {

constexpr int32_t kDefaultSensitivity = 4;  // the detector's own default
constexpr int32_t kDefaultMinFrames = 1;
constexpr guint64 kDefaultGap = 5 * GST_SECOND;  // motioncells' default gap
constexpr int32_t kDefaultGain = 32, kDefaultShutter = 176, kDefaultStage = 64, kDefaultShutterWidth = 0;

enum Property {
    PROP_0,
    PROP_ZONES,
    PROP_SENSITIVITY,
    PROP_MIN_FRAMES,
    PROP_GAP,
    PROP_DRAW,
    PROP_TEXT_TOP,
    PROP_TEXT_BOTTOM,
    PROP_EXPOSURE,
    PROP_GAIN,
    PROP_SHUTTER,
    PROP_STAGE,
    PROP_SHUTTER_WIDTH,
};

// What the application sets, from any thread; the streaming thread takes a copy for each frame.
struct Settings {
    std::vector<RECT> zones;
    int32_t sensitivity = kDefaultSensitivity;
    int32_t minFrames = kDefaultMinFrames;
    guint64 gap = kDefaultGap;
    bool draw = false;
    std::string textTop, textBottom;
    bool exposure = false;
    int32_t gain = kDefaultGain, shutter = kDefaultShutter, stage = kDefaultStage;
    int32_t shutterWidth = kDefaultShutterWidth;
    bool cameraSet = false;  // gain, shutter or stage set by the application since the last frame
    bool reinit = true;      // zones or sensitivity changed: the detector starts afresh
};

// One watched zone's state between frames.
struct ZoneState {
    int32_t index = 0;                         // in the zones property
    bool active = false;                       // begin posted, end not yet
    int32_t run = 0;                           // consecutive frames in motion
    GstClockTime runStart = GST_CLOCK_TIME_NONE;
    GstClockTime lastMotion = GST_CLOCK_TIME_NONE;
};

// Streaming state: touched by the streaming thread only (and by start and stop).
struct Stream {
    void *detector = nullptr;
    std::vector<ZoneState> zones;
    int32_t gain = kDefaultGain, shutter = kDefaultShutter, stage = kDefaultStage;
    GstClockTime lastRunningTime = GST_CLOCK_TIME_NONE;
    std::vector<uint8_t> scratch;  // rows in the layout the library reads, when the buffer's differ
};

}  // namespace

struct _KestrixMotion {
    GstVideoFilter parent;
    std::mutex *lock;
    Settings *settings;
    Stream *stream;
};

G_DEFINE_TYPE(KestrixMotion, kestrix_motion, GST_TYPE_VIDEO_FILTER)

namespace {

void postMotion(KestrixMotion *self, int32_t zone, const char *event, GstClockTime runningTime) {
    GST_DEBUG_OBJECT(self, "zone %d %s at %" GST_TIME_FORMAT, zone, event, GST_TIME_ARGS(runningTime));
    GstStructure *s = gst_structure_new("kestrix-motion", "zone", G_TYPE_INT, zone, "event", G_TYPE_STRING, event,
                                        "running-time", G_TYPE_UINT64, runningTime, nullptr);
    gst_element_post_message(GST_ELEMENT(self), gst_message_new_element(GST_OBJECT(self), s));
}

// Zones still in motion get their end, so that every begin has one: before the detector starts
// afresh, and at the end of the stream.
void endActiveZones(KestrixMotion *self, GstClockTime runningTime) {
    for (ZoneState &zone : self->stream->zones) {
        if (zone.active) postMotion(self, zone.index, "end", runningTime);
        zone = ZoneState{zone.index};
    }
}

bool drawsSomething(const Settings &s) {
    return s.draw && (!s.zones.empty() || !s.textTop.empty() || !s.textBottom.empty());
}

void updatePassthrough(KestrixMotion *self) {
    bool draws;
    {
        std::lock_guard guard(*self->lock);
        draws = drawsSomething(*self->settings);
    }
    gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(self), !draws);
}

// The detector restarts with the zones it can report, given in rows counted from the bottom: the
// frame handed to it is the buffer itself, whose first row is the picture's top.
void restartDetector(KestrixMotion *self, const std::vector<RECT> &zones, int32_t sensitivity, int32_t height) {
    Stream &stream = *self->stream;
    endActiveZones(self, stream.lastRunningTime);
    const std::vector<int32_t> watched = kx::gst::watchedZones(zones);
    std::vector<RECT> flipped;
    stream.zones.clear();
    for (const int32_t i : watched) {
        flipped.push_back(kx::gst::flipRows(zones[static_cast<size_t>(i)], height));
        stream.zones.push_back(ZoneState{i});
    }
    // None to watch: the detector watches the whole picture, reported as zone 0.
    if (stream.zones.empty()) stream.zones.push_back(ZoneState{0});
    MotionInit(stream.detector, sensitivity, flipped.data(), static_cast<int32_t>(flipped.size()));
}

void followMotion(KestrixMotion *self, uint8_t mask, GstClockTime runningTime, int32_t minFrames, guint64 gap) {
    const bool timed = GST_CLOCK_TIME_IS_VALID(runningTime);
    for (size_t k = 0; k < self->stream->zones.size(); ++k) {
        ZoneState &zone = self->stream->zones[k];
        if (mask >> k & 1) {
            if (zone.run++ == 0) zone.runStart = runningTime;
            zone.lastMotion = runningTime;
            if (!zone.active && zone.run >= minFrames) {
                zone.active = true;
                postMotion(self, zone.index, "begin", zone.runStart);
            }
            continue;
        }
        zone.run = 0;
        // Without timestamps there is no gap to wait for: the first still frame ends the motion.
        // Time running back (a new segment) ends it too.
        const bool gapOver = !timed || !GST_CLOCK_TIME_IS_VALID(zone.lastMotion) || runningTime < zone.lastMotion ||
                             runningTime - zone.lastMotion >= gap;
        if (zone.active && gapOver) {
            zone.active = false;
            postMotion(self, zone.index, "end", runningTime);
        }
    }
}

void adviseExposure(KestrixMotion *self, const GstVideoFrame *frame, GstClockTime runningTime, int32_t width,
                    int32_t height, int32_t shutterWidth) {
    Stream &stream = *self->stream;
    const auto *data = static_cast<const uint8_t *>(GST_VIDEO_FRAME_PLANE_DATA(frame, 0));
    const int32_t stride = GST_VIDEO_FRAME_PLANE_STRIDE(frame, 0);
    const size_t rowBytes = static_cast<size_t>(width) * 3;
    // The measure runs over packed pixels: rows with padding between them are packed first.
    if (static_cast<size_t>(stride) != rowBytes) {
        stream.scratch.resize(rowBytes * static_cast<size_t>(height));
        for (int32_t y = 0; y < height; ++y) {
            std::memcpy(stream.scratch.data() + rowBytes * static_cast<size_t>(y), data + int64_t{stride} * y,
                        rowBytes);
        }
        data = stream.scratch.data();
    }
    const int32_t luma = BmpGetYDc(data, static_cast<uint32_t>(rowBytes * static_cast<size_t>(height)));
    const int32_t move = ChangeGain3(&luma, shutterWidth, &stream.stage, &stream.gain, &stream.shutter);
    {
        std::lock_guard guard(*self->lock);
        Settings &s = *self->settings;
        if (!s.cameraSet) s.gain = stream.gain, s.shutter = stream.shutter, s.stage = stream.stage;
    }
    GstStructure *st = gst_structure_new("kestrix-exposure", "luminance", G_TYPE_INT, luma, "gain", G_TYPE_INT,
                                         stream.gain, "shutter", G_TYPE_INT, stream.shutter, "stage", G_TYPE_INT,
                                         stream.stage, "move", G_TYPE_INT, move, "running-time", G_TYPE_UINT64,
                                         runningTime, nullptr);
    gst_element_post_message(GST_ELEMENT(self), gst_message_new_element(GST_OBJECT(self), st));
}

GstFlowReturn transformFrameIp(GstVideoFilter *filter, GstVideoFrame *frame) {
    KestrixMotion *self = KESTRIX_MOTION(filter);
    Stream &stream = *self->stream;
    Settings s;
    {
        std::lock_guard guard(*self->lock);
        s = *self->settings;
        self->settings->reinit = false;
        if (s.cameraSet) {
            self->settings->cameraSet = false;
            stream.gain = s.gain, stream.shutter = s.shutter, stream.stage = s.stage;
        }
    }
    const int32_t width = GST_VIDEO_FRAME_WIDTH(frame), height = GST_VIDEO_FRAME_HEIGHT(frame);
    const GstClockTime runningTime = gst_segment_to_running_time(&GST_BASE_TRANSFORM(filter)->segment,
                                                                 GST_FORMAT_TIME, GST_BUFFER_PTS(frame->buffer));
    stream.lastRunningTime = runningTime;
    if (s.reinit) restartDetector(self, s.zones, s.sensitivity, height);

    // The detector reads rows of ((24 x width + 31) / 32) x 4 bytes; a buffer laid out so (every
    // buffer of default layout) is read where it lies, any other is copied to that layout first.
    const int32_t step = (24 * width + 31) / 32 * 4;
    const int32_t stride = GST_VIDEO_FRAME_PLANE_STRIDE(frame, 0);
    auto *data = static_cast<uint8_t *>(GST_VIDEO_FRAME_PLANE_DATA(frame, 0));
    const uint8_t *rows = data;
    if (stride != step) {
        stream.scratch.resize(static_cast<size_t>(step) * static_cast<size_t>(height));
        for (int32_t y = 0; y < height; ++y) {
            std::memcpy(stream.scratch.data() + static_cast<size_t>(step) * static_cast<size_t>(y),
                        data + int64_t{stride} * y, static_cast<size_t>(width) * 3);
        }
        rows = stream.scratch.data();
    }
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = 24;
    header.biSizeImage = static_cast<uint32_t>(step) * static_cast<uint32_t>(height);
    uint8_t mask = 0;
    MotionCompare(stream.detector, &header, rows, &mask);
    followMotion(self, mask, runningTime, s.minFrames, s.gap);

    if (s.exposure) adviseExposure(self, frame, runningTime, width, height, s.shutterWidth);

    // Drawn only into a buffer mapped for writing: passthrough may have been switched on or off
    // since the frame was mapped.
    if (drawsSomething(s) && (frame->map[0].flags & GST_MAP_WRITE)) {
        const kx::gst::Picture picture = {data, stride, width, height};
        kx::gst::outlineZones(picture, s.zones);
        kx::gst::drawTexts(picture, s.textTop, s.textBottom);
    }
    return GST_FLOW_OK;
}

gboolean setInfo(GstVideoFilter *filter, GstCaps *, GstVideoInfo *, GstCaps *, GstVideoInfo *) {
    KestrixMotion *self = KESTRIX_MOTION(filter);
    // A new picture size needs new references, and the zones' rows are counted from a new bottom.
    std::lock_guard guard(*self->lock);
    self->settings->reinit = true;
    return TRUE;
}

gboolean start(GstBaseTransform *trans) {
    KestrixMotion *self = KESTRIX_MOTION(trans);
    self->stream->detector = MotionOpen();
    if (!self->stream->detector) {
        GST_ELEMENT_ERROR(self, RESOURCE, FAILED, ("No memory for a motion detector"), (nullptr));
        return FALSE;
    }
    std::lock_guard guard(*self->lock);
    self->settings->reinit = true;
    return TRUE;
}

gboolean stop(GstBaseTransform *trans) {
    KestrixMotion *self = KESTRIX_MOTION(trans);
    MotionClose(self->stream->detector);
    *self->stream = Stream{};
    std::lock_guard guard(*self->lock);
    self->stream->gain = self->settings->gain;
    self->stream->shutter = self->settings->shutter;
    self->stream->stage = self->settings->stage;
    return TRUE;
}

gboolean sinkEvent(GstBaseTransform *trans, GstEvent *event) {
    KestrixMotion *self = KESTRIX_MOTION(trans);
    if (GST_EVENT_TYPE(event) == GST_EVENT_EOS) endActiveZones(self, self->stream->lastRunningTime);
    return GST_BASE_TRANSFORM_CLASS(kestrix_motion_parent_class)->sink_event(trans, event);
}

void setProperty(GObject *object, guint id, const GValue *value, GParamSpec *pspec) {
    KestrixMotion *self = KESTRIX_MOTION(object);
    {
        std::lock_guard guard(*self->lock);
        Settings &s = *self->settings;
        switch (id) {
            case PROP_ZONES: {
                const char *text = g_value_get_string(value);
                if (!kx::gst::parseZones(text ? text : "", s.zones)) {
                    GST_WARNING_OBJECT(self, "zones \"%s\" are not \"left,top,right,bottom;...\": kept \"%s\"",
                                       text, kx::gst::formatZones(s.zones).c_str());
                    return;
                }
                s.reinit = true;
                break;
            }
            case PROP_SENSITIVITY:
                s.sensitivity = g_value_get_int(value);
                s.reinit = true;
                break;
            case PROP_MIN_FRAMES: s.minFrames = g_value_get_int(value); break;
            case PROP_GAP: s.gap = g_value_get_uint64(value); break;
            case PROP_DRAW: s.draw = g_value_get_boolean(value); break;
            case PROP_TEXT_TOP: s.textTop = g_value_get_string(value) ? g_value_get_string(value) : ""; break;
            case PROP_TEXT_BOTTOM: s.textBottom = g_value_get_string(value) ? g_value_get_string(value) : ""; break;
            case PROP_EXPOSURE: s.exposure = g_value_get_boolean(value); break;
            case PROP_GAIN: s.gain = g_value_get_int(value), s.cameraSet = true; break;
            case PROP_SHUTTER: s.shutter = g_value_get_int(value), s.cameraSet = true; break;
            case PROP_STAGE: s.stage = g_value_get_int(value), s.cameraSet = true; break;
            case PROP_SHUTTER_WIDTH: s.shutterWidth = g_value_get_int(value); break;
            default: G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec); return;
        }
    }
    updatePassthrough(self);
}

void getProperty(GObject *object, guint id, GValue *value, GParamSpec *pspec) {
    KestrixMotion *self = KESTRIX_MOTION(object);
    std::lock_guard guard(*self->lock);
    const Settings &s = *self->settings;
    switch (id) {
        case PROP_ZONES: g_value_set_string(value, kx::gst::formatZones(s.zones).c_str()); break;
        case PROP_SENSITIVITY: g_value_set_int(value, s.sensitivity); break;
        case PROP_MIN_FRAMES: g_value_set_int(value, s.minFrames); break;
        case PROP_GAP: g_value_set_uint64(value, s.gap); break;
        case PROP_DRAW: g_value_set_boolean(value, s.draw); break;
        case PROP_TEXT_TOP: g_value_set_string(value, s.textTop.c_str()); break;
        case PROP_TEXT_BOTTOM: g_value_set_string(value, s.textBottom.c_str()); break;
        case PROP_EXPOSURE: g_value_set_boolean(value, s.exposure); break;
        case PROP_GAIN: g_value_set_int(value, s.gain); break;
        case PROP_SHUTTER: g_value_set_int(value, s.shutter); break;
        case PROP_STAGE: g_value_set_int(value, s.stage); break;
        case PROP_SHUTTER_WIDTH: g_value_set_int(value, s.shutterWidth); break;
        default: G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec); break;
    }
}

void finalize(GObject *object) {
    KestrixMotion *self = KESTRIX_MOTION(object);
    MotionClose(self->stream->detector);
    delete self->stream;
    delete self->settings;
    delete self->lock;
    G_OBJECT_CLASS(kestrix_motion_parent_class)->finalize(object);
}

constexpr auto kFlags =
    static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING);

}  // namespace

static void kestrix_motion_class_init(KestrixMotionClass *klass) {
    GObjectClass *object = G_OBJECT_CLASS(klass);
    GstElementClass *element = GST_ELEMENT_CLASS(klass);
    GstBaseTransformClass *transform = GST_BASE_TRANSFORM_CLASS(klass);
    GstVideoFilterClass *filter = GST_VIDEO_FILTER_CLASS(klass);

    GST_DEBUG_CATEGORY_INIT(kestrix_motion_debug, "kestrixmotion", 0, "Kestrix zone motion");
    object->set_property = setProperty;
    object->get_property = getProperty;
    object->finalize = finalize;

    g_object_class_install_property(
        object, PROP_ZONES,
        g_param_spec_string("zones", "Zones",
                            "Watched rectangles in picture pixels, the top row 0: \"left,top,right,bottom;...\" "
                            "(right and bottom exclusive; empty: the whole picture). A change restarts the warm-up",
                            "", kFlags));
    g_object_class_install_property(
        object, PROP_SENSITIVITY,
        g_param_spec_int("sensitivity", "Sensitivity",
                         "0 (least) to 9 (most): how many changed samples fire and how far they must move. "
                         "A change restarts the warm-up",
                         0, 9, kDefaultSensitivity, kFlags));
    g_object_class_install_property(
        object, PROP_MIN_FRAMES,
        g_param_spec_int("min-frames", "Minimum frames",
                         "Consecutive frames in motion before a zone posts begin", 1, G_MAXINT, kDefaultMinFrames,
                         kFlags));
    g_object_class_install_property(
        object, PROP_GAP,
        g_param_spec_uint64("gap", "Gap",
                            "Running time in nanoseconds a zone must stay still after its last motion before it "
                            "posts end",
                            0, G_MAXUINT64, kDefaultGap, kFlags));
    g_object_class_install_property(
        object, PROP_DRAW,
        g_param_spec_boolean("draw", "Draw",
                             "Outline the zones in red and draw text-top and text-bottom into the picture; "
                             "off, buffers pass through untouched",
                             FALSE, kFlags));
    g_object_class_install_property(
        object, PROP_TEXT_TOP,
        g_param_spec_string("text-top", "Top text", "Drawn at the top left in red over a white halo (with draw)", "",
                            kFlags));
    g_object_class_install_property(
        object, PROP_TEXT_BOTTOM,
        g_param_spec_string("text-bottom", "Bottom text",
                            "Drawn at the bottom right in blue over a white halo (with draw)", "", kFlags));
    g_object_class_install_property(
        object, PROP_EXPOSURE,
        g_param_spec_boolean("exposure", "Exposure",
                             "Measure the luminance of every frame, step gain, shutter and stage with ChangeGain3 "
                             "and post kestrix-exposure",
                             FALSE, kFlags));
    g_object_class_install_property(
        object, PROP_GAIN,
        g_param_spec_int("gain", "Gain", "The camera's gain; stepped by exposure, settable to what the camera has",
                         32, 127, kDefaultGain, kFlags));
    g_object_class_install_property(
        object, PROP_SHUTTER,
        g_param_spec_int("shutter", "Shutter",
                         "The camera's shutter; stepped by exposure, settable to what the camera has", 32, 511,
                         kDefaultShutter, kFlags));
    g_object_class_install_property(
        object, PROP_STAGE,
        g_param_spec_int("stage", "Stage", "The camera's stage (16, 32, 48, 64, 130); stepped by exposure", 0,
                         G_MAXINT, kDefaultStage, kFlags));
    g_object_class_install_property(
        object, PROP_SHUTTER_WIDTH,
        g_param_spec_int("shutter-width", "Shutter width", "The shutter width the camera reports, for exposure", 0,
                         G_MAXINT, kDefaultShutterWidth, kFlags));

    gst_element_class_set_static_metadata(element, "Kestrix zone motion", "Filter/Analyzer/Video",
                                          "Posts kestrix-motion begin and end for motion in zones, kestrix-exposure "
                                          "advice for the camera, and draws the zones and two texts",
                                          "Kestrix");
    GstCaps *caps = gst_caps_from_string(GST_VIDEO_CAPS_MAKE("BGR"));
    gst_element_class_add_pad_template(element, gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, caps));
    gst_element_class_add_pad_template(element, gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps));
    gst_caps_unref(caps);

    transform->start = start;
    transform->stop = stop;
    transform->sink_event = sinkEvent;
    filter->set_info = setInfo;
    filter->transform_frame_ip = transformFrameIp;
}

static void kestrix_motion_init(KestrixMotion *self) {
    self->lock = new std::mutex;
    self->settings = new Settings;
    self->stream = new Stream;
    gst_base_transform_set_in_place(GST_BASE_TRANSFORM(self), TRUE);
    gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(self), TRUE);
}
