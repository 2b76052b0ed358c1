#!/usr/bin/python3
"""Writes the seeds of this folder: six control bytes, then a playlist. Run it where the seeds are to stand."""
import struct

PACKET = [0, 0x3FF, 0x3FF, 0x161, 0x101, 0x102, 0x296, 0x269, 0x263]
EMPTY_PACKET = [0, 0x3FF, 0x3FF, 0x241, 0x205, 0x200, 0x246]
LONG_PACKET = [0, 0x3FF, 0x3FF, 0x2FF, 0x1FE, 0x2FF] + [0x201] * 255 + [0x2FB]
END = [0xFFFF, 0xFFFF]
TWO_LINES = [0x800A, 18] + PACKET + [0xFFFF, 0xC00B, 14] + EMPTY_PACKET + [0xFFFF, 0x800B, 28] + EMPTY_PACKET * 2
SD, HD720, HD = 0, 2, 3


def seed(name, words, flags=0, standard=HD, progress=0, second=255, available=1, line=225):
    body = struct.pack("<%dH" % (len(words) + 4), 0, 0, 0, 0, *words)
    with open("seeds/" + name, "wb") as file:
        file.write(bytes([flags, standard, progress, second, available, line]) + body)


def padded(words):
    return words + [0x1000] * (32 - (len(words) + 4) % 32)


seed("empty", END)
seed("two_lines", TWO_LINES + END)
seed("copied", TWO_LINES + END, flags=1)
seed("in_place", TWO_LINES + END, flags=128, available=3)
seed("small_second", TWO_LINES + END, second=8)
seed("part", TWO_LINES + END, flags=32, available=12)
seed("progress", TWO_LINES + END, progress=32, line=10)
seed("field", [0x8232, 18] + PACKET + END, flags=8)
seed("padded", padded([0x800A, 18] + PACKET) + [0x800C, 14] + EMPTY_PACKET + END)
seed("empty_mark", padded([0xC00A, 4, 0x200, 0x40]) + END, flags=64)
seed("corrupted", [0x800A, 18] + PACKET + [0x111, 0x222] + EMPTY_PACKET + [0x111, 0x800C, 0] + EMPTY_PACKET + END)
seed("long_packets", [0xC00A, 536] + LONG_PACKET + LONG_PACKET + END)
seed("raw_line", [0xA00A, 1440] + list(range(720)) + [0x800C, 14] + EMPTY_PACKET + END, standard=SD)
seed("raw_line_10_bit", [0xB00A, 2560] + [0x155] * 1280 + END, flags=4, standard=HD720)
seed("raw_line_copied", [0xB00A, 2560] + [0x155] * 1280 + END, flags=2, standard=HD720)
seed("other_store", [0xA00A, 1280] + [7] * 640 + END, standard=HD720 + 16 + 4)
seed("cut_packet", [0x800A, 18] + PACKET[:7])
