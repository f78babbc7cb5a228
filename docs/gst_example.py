#!/usr/bin/env python3
"""Reads kestrixmotion's messages from the bus of a pipeline, given as in gst-launch-1.0, or a test
pattern when none is given, and prints them until the end of the stream.

    GST_PLUGIN_PATH=/opt/kestrix/lib/gstreamer-1.0 python3 gst_example.py
"""
import sys

import gi

gi.require_version("Gst", "1.0")
from gi.repository import Gst  # noqa: E402

DEFAULT_PIPELINE = (
    "videotestsrc num-buffers=100 pattern=ball ! video/x-raw,format=BGR,width=320,height=240 "
    "! kestrixmotion zones=0,0,160,240;160,0,320,240 gap=200000000 exposure=true shutter-width=1200 "
    "! fakesink")


def main():
    Gst.init(None)
    pipeline = Gst.parse_launch(sys.argv[1] if len(sys.argv) > 1 else DEFAULT_PIPELINE)
    bus = pipeline.get_bus()
    pipeline.set_state(Gst.State.PLAYING)
    camera = None
    status = 0
    while True:
        message = bus.timed_pop_filtered(
            Gst.CLOCK_TIME_NONE, Gst.MessageType.ELEMENT | Gst.MessageType.EOS | Gst.MessageType.ERROR)
        if message.type != Gst.MessageType.ELEMENT:
            status = int(message.type == Gst.MessageType.ERROR)
            break
        s = message.get_structure()
        time = Gst.TIME_ARGS(s.get_value("running-time"))
        if s.get_name() == "kestrix-motion":
            print(f"{time} zone {s.get_value('zone')} {s.get_value('event')}")
        elif s.get_name() == "kestrix-exposure":
            # Here an application sends gain, shutter and stage to the camera when they move.
            values = (s.get_value("gain"), s.get_value("shutter"), s.get_value("stage"))
            if values != camera:
                print(f"{time} luminance {s.get_value('luminance')}: gain {values[0]}, shutter {values[1]}, "
                      f"stage {values[2]}")
                camera = values
    pipeline.set_state(Gst.State.NULL)
    return status


if __name__ == "__main__":
    sys.exit(main())
