#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""demo-camera.py send
demo-camera.py receive SECONDS FILE

The two ends of `orvo-gige demo`, both by Debian's Aravis: a software camera, and a client that acquires its images for
SECONDS at each of two rates and writes the first as a PNG. The client's exit code is 1 if an image was lost."""
import os
import pathlib
import struct
import sys
import time
import zlib

import gi

gi.require_version("Aravis", "0.8")
from gi.repository import Aravis, GLib

WIDTH, HEIGHT = 400, 300
RATES = 25, 200  # images a second
PATIENCE = 10  # seconds
COUNTERS = ("received_packets", "missing_packets", "resent_packets", "missing_frames", "underruns")


def send():
    camera = Aravis.GvFakeCamera.new("camera0", "1")
    while camera.is_running():
        time.sleep(1)
    sys.exit("demo: the software camera has ended")


def find_camera(address):
    end = time.monotonic() + PATIENCE
    while True:
        try:
            return Aravis.Camera.new(address)
        except GLib.Error as error:
            if time.monotonic() > end:
                sys.exit(f"demo: no camera answers at {address}: {error.message}")
            time.sleep(0.1)


def acquire(camera, rate, seconds):
    """The first complete image, None without any, and whether all arrived. Aravis calls a buffer a success only if every
    packet of its image is there."""
    stream = camera.create_stream(None, None)
    for _ in range(50):
        stream.push_buffer(Aravis.Buffer.new_allocate(camera.get_payload()))
    camera.set_frame_rate(rate)
    camera.start_acquisition()
    complete, failed, first = 0, 0, None
    end, stopped = time.monotonic() + seconds, False
    while True:
        buffer = stream.timeout_pop_buffer(500_000 if stopped else 100_000)  # us; the last image may be late
        if not stopped and time.monotonic() >= end:
            camera.stop_acquisition()
            stopped = True
        if not buffer:
            if stopped:
                break
            continue
        if buffer.get_status() == Aravis.BufferStatus.SUCCESS:
            complete += 1
            first = first or (buffer.get_image_width(), buffer.get_image_height(), buffer.get_data())
        else:
            failed += 1
        stream.push_buffer(buffer)
    counts = {name: stream.get_info_uint64_by_name("n_" + name) for name in COUNTERS}
    print(f"acquired  at {rate} images/s for {seconds:g} s: {complete} complete, {failed} failed, "
          f"{counts['underruns']} underruns, {counts['missing_frames']} missing; {counts['received_packets']} packets, "
          f"{counts['missing_packets']} missing, {counts['resent_packets']} resent")
    return first, complete > 0 and failed + counts["underruns"] + counts["missing_frames"] == 0


def png(width, height, pixels):
    row = 3 * width  # bytes: 8 bits each of red, green and blue
    filtered = b"".join(b"\0" + pixels[row * y:row * (y + 1)] for y in range(height))  # 0: a row as it is
    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(filtered, 9)) + chunk(b"IEND", b"")


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def receive(seconds, path):
    address = os.environ["ORVO_LAB_CAMERA_ADDRESS"]
    camera = find_camera(address)
    print(f"found     {camera.get_model_name()} at {address}, behind gige0")
    camera.gv_set_packet_size(1500)
    camera.set_pixel_format(Aravis.PIXEL_FORMAT_RGB_8_PACKED)
    camera.set_region(0, 0, WIDTH, HEIGHT)
    region = camera.get_region()
    print(f"set       {WIDTH} x {HEIGHT} pixels, read back {region.width} x {region.height}")
    images, good = zip(*(acquire(camera, rate, seconds) for rate in RATES))
    if images[0]:
        pathlib.Path(path).write_bytes(png(*images[0]))
    if not all(good):
        sys.exit("demo: the client lacks images; 'losses' below says where they were lost, docs/camera.md what to do")


if __name__ == "__main__":
    if sys.argv[1] == "send":
        send()
    try:
        receive(float(sys.argv[2]), sys.argv[3])
    except GLib.Error as error:
        sys.exit(f"demo: the camera stopped answering: {error.message}")
