// kestrixmotion in a GstHarness, registered statically: nothing needs to be installed.
#pragma once

#include <gst/check/gstharness.h>
#include <gst/gst.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "kestrixmotion.h"

namespace kx::test {

inline constexpr GstClockTime kFrameTime = 40 * GST_MSECOND;  // 25 frames a second

// A BGR picture, the top row first, rows of `stride` bytes (the default layout's unless given).
struct TestPicture {
    int32_t width, height, stride;
    std::vector<uint8_t> bytes;
    TestPicture(int32_t w, int32_t h, uint8_t grey = 128, int32_t rowStride = 0)
        : width(w), height(h), stride(rowStride ? rowStride : (w * 3 + 3) / 4 * 4),
          bytes(static_cast<size_t>(stride) * static_cast<size_t>(h), grey) {}
    uint8_t *at(int32_t x, int32_t y) { return &bytes[static_cast<size_t>(y) * stride + static_cast<size_t>(x) * 3]; }
    const uint8_t *at(int32_t x, int32_t y) const {
        return &bytes[static_cast<size_t>(y) * stride + static_cast<size_t>(x) * 3];
    }
    uint32_t rgb(int32_t x, int32_t y) const {  // 0xRRGGBB
        const uint8_t *p = at(x, y);
        return uint32_t{p[2]} << 16 | uint32_t{p[1]} << 8 | p[0];
    }
    // A black square of side `size` with its top left corner at x, y.
    TestPicture &square(int32_t x, int32_t y, int32_t size = 12) {
        for (int32_t row = y; row < y + size; ++row) {
            for (int32_t col = x; col < x + size; ++col) std::memset(at(col, row), 0, 3);
        }
        return *this;
    }
};

struct Message {
    std::string name;
    GstStructure *fields;
    int32_t integer(const char *field) const {
        gint v = -1;
        EXPECT_TRUE(gst_structure_get_int(fields, field, &v)) << field;
        return v;
    }
    std::string string(const char *field) const {
        const char *v = gst_structure_get_string(fields, field);
        return v ? v : "";
    }
    GstClockTime time() const {
        guint64 v = GST_CLOCK_TIME_NONE;
        EXPECT_TRUE(gst_structure_get_uint64(fields, "running-time", &v));
        return v;
    }
};

class ElementHarness {
public:
    explicit ElementHarness(int32_t width = 160, int32_t height = 120, const char *format = "BGR") {
        static const bool registered = [] {
            gst_init(nullptr, nullptr);
            return gst_element_register(nullptr, "kestrixmotion", GST_RANK_NONE, KESTRIX_TYPE_MOTION) != FALSE;
        }();
        EXPECT_TRUE(registered);
        harness = gst_harness_new("kestrixmotion");
        bus = gst_bus_new();
        gst_element_set_bus(harness->element, bus);
        const std::string caps = "video/x-raw,format=" + std::string(format) + ",width=" + std::to_string(width) +
                                 ",height=" + std::to_string(height) + ",framerate=25/1";
        gst_harness_set_src_caps_str(harness, caps.c_str());
    }
    ~ElementHarness() {
        messages("");  // what is still on the bus, freed with the rest
        for (Message &m : kept) gst_structure_free(m.fields);
        for (Message &m : pending) gst_structure_free(m.fields);
        gst_harness_teardown(harness);
        gst_object_unref(bus);
    }
    ElementHarness(const ElementHarness &) = delete;
    ElementHarness &operator=(const ElementHarness &) = delete;

    GObject *element() const { return G_OBJECT(harness->element); }
    void set(const char *property, const char *value) const {
        gst_util_set_object_arg(element(), property, value);
    }

    // Frame `index` with its timestamp; the output buffer comes back (null if none).
    GstBuffer *push(const TestPicture &picture, int32_t index, GstFlowReturn *flow = nullptr) {
        GstBuffer *buffer = gst_buffer_new_memdup(picture.bytes.data(), picture.bytes.size());
        GST_BUFFER_PTS(buffer) = static_cast<GstClockTime>(index) * kFrameTime;
        GST_BUFFER_DURATION(buffer) = kFrameTime;
        const GstFlowReturn result = gst_harness_push(harness, buffer);
        if (flow) *flow = result;
        return result == GST_FLOW_OK ? gst_harness_pull(harness) : nullptr;
    }
    void pushAndDrop(const TestPicture &picture, int32_t index) {
        if (GstBuffer *out = push(picture, index)) gst_buffer_unref(out);
    }
    void endOfStream() const { gst_harness_push_event(harness, gst_event_new_eos()); }

    // The element messages of that name posted since the last call.
    std::vector<Message> messages(const std::string &name) {
        while (GstMessage *m = gst_bus_pop_filtered(bus, GST_MESSAGE_ELEMENT)) {
            const GstStructure *s = gst_message_get_structure(m);
            pending.push_back({gst_structure_get_name(s), gst_structure_copy(s)});
            gst_message_unref(m);
        }
        std::vector<Message> taken, rest;
        for (Message &m : pending) (m.name == name ? taken : rest).push_back(m);
        pending = rest;
        kept.insert(kept.end(), taken.begin(), taken.end());
        return taken;
    }

    GstHarness *harness;
    GstBus *bus;

private:
    std::vector<Message> pending, kept;
};

inline std::vector<uint8_t> bytesOf(GstBuffer *buffer) {
    std::vector<uint8_t> bytes(gst_buffer_get_size(buffer));
    gst_buffer_extract(buffer, 0, bytes.data(), bytes.size());
    return bytes;
}

}  // namespace kx::test
