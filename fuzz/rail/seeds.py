#!/usr/bin/python3
"""Writes the seeds of this folder. Of a side: a byte of bits, one of the size, then steps. Of a description: a byte of
its type, then its lines."""
import struct

CONSUMERS, CREATED, LONGER, SHORTER, ABANDONED = 1, 2, 4, 8, 16
LOCK, TOUCH, UNLOCK, READ, MARK, JOIN, ASK, REOPEN = range(8)
PRODUCER = 128


def step(what, size=0, flags=0):
    return struct.pack("<BH", what * 4 + 1 + flags, size)


def forge(kind, near, place=0):
    return struct.pack("<BBh", 0, kind + 8 * place, near)


def word(index, value):
    return forge(7, index) + struct.pack("<I", value)


COMMIT = lambda near: forge(0, near)
RELEASE = lambda near, place=0: forge(2, near, place)


def seed(name, bits, size, *steps):
    with open("corpus/" + name, "wb") as file:
        file.write(bytes([bits, size]) + b"".join(steps))


def records(slot, *triples):
    table = (4096 + slot * 3136) // 4
    words = [word(table, slot + 1), word(table + 2, len(triples))]
    for index, triple in enumerate(triples):
        words += [word(table + 4 + 3 * index + place, value) for place, value in enumerate(triple)]
    return b"".join(words)


PUT = step(TOUCH, 100, PRODUCER) + step(MARK, 5, PRODUCER) + step(MARK, 99, 64 + PRODUCER) + step(UNLOCK, 0, PRODUCER)
TAKE = step(TOUCH, 100) + step(READ, 2392) + step(READ, 2392, 64) + step(UNLOCK)

seed("consumer", 0, 0, step(JOIN), records(0, (1, 5, 6), (2, 99, 0)), COMMIT(200), TAKE, step(ASK), TAKE, step(LOCK, 100))
seed("consumer_of_records", 0, 0, step(JOIN), records(0, (1, 100, 6), (1, 0x7FFFFFFF, 0), (1, 3, 4)), word(1026, 0x7FFFFFFF),
     COMMIT(100), TAKE)
seed("consumer_of_nonsense", 0, 0, step(JOIN), COMMIT(-1), step(LOCK, 100), step(ASK), step(JOIN, 0, PRODUCER), step(JOIN))
seed("consumer_too_far", 0, 3, step(JOIN), COMMIT(5000), TAKE, COMMIT(1), TAKE, step(ASK))
seed("consumer_in_the_middle", 0, 0, COMMIT(50), step(JOIN), step(ASK), COMMIT(350), step(TOUCH, 50), TAKE, TAKE)
seed("consumer_of_the_dead", 0, 1, step(JOIN), COMMIT(3), forge(5, 2), step(TOUCH, 3), step(LOCK, 1), step(ASK))
seed("consumer_dropped", 0, 0, step(JOIN), COMMIT(100), forge(4, 0), TAKE, step(JOIN, 0, PRODUCER), step(JOIN), TAKE)
seed("producer", CONSUMERS, 0, forge(4, 1), RELEASE(0), PUT, PUT, RELEASE(0), PUT, step(ASK), PUT, PUT, PUT)
seed("producer_held_up", CONSUMERS, 0, forge(4, 1), forge(3, -1), PUT, PUT, PUT, PUT, PUT, step(ASK))
seed("producer_lied_to", CONSUMERS, 1, forge(4, 1), PUT, RELEASE(1), PUT, forge(4, 3, 5), RELEASE(-9, 5), PUT, step(ASK))
seed("producer_far_on", CONSUMERS, 0, forge(0, -1), forge(4, 1), PUT, step(REOPEN), word(16, 250), word(17, 0), PUT, PUT)
seed("producer_out_of_order", CONSUMERS, 3, forge(4, 1), RELEASE(0), step(TOUCH, 1500, PRODUCER), step(TOUCH, 1000, PRODUCER),
     step(MARK, 700, PRODUCER), word(1026, 255), step(MARK, 1, PRODUCER), step(UNLOCK, 1, PRODUCER),
     step(UNLOCK, 0, PRODUCER), step(ASK))
seed("both", CREATED, 0, step(JOIN), PUT, PUT, TAKE, step(ASK), TAKE, PUT, forge(6, 1, 1), TAKE)
seed("both_of_a_consumer", CREATED | CONSUMERS, 2, step(JOIN), forge(5, 1), COMMIT(64), TAKE, step(REOPEN), TAKE)
seed("many_small", CREATED, 4, step(JOIN), *[step(LOCK, 1, PRODUCER)] * 70, *[step(UNLOCK, 0, PRODUCER)] * 30)
seed("damaged_header", 0, 0, word(2, 200), step(REOPEN), word(2, 100), step(REOPEN), word(5, 7), step(REOPEN), word(0, 0),
     step(REOPEN))
seed("longer", LONGER, 0, step(JOIN), TAKE)
seed("shorter", SHORTER, 0, step(REOPEN))
seed("abandoned", ABANDONED, 0, step(JOIN), step(REOPEN))


def description(name, *lines, kind=1):
    with open("descriptions/" + name, "wb") as file:
        file.write(bytes([kind]) + "\n".join(lines).encode())


SIZES = ("SlotBytes=100", "SlotCount=4")

description("whole", "Name=!", *SIZES, "Role=producer")
description("with_slash", "Name=/!", "Name2=x")
description("name_alone", "Name=!")
description("later_version", "Name=!", "Colour=blue", "Colour=", *SIZES)
description("other_sizes", "Name=!", "SlotBytes=101")
description("other_count", "Name=!", "SlotBytes=100", "SlotCount=5")
description("other_role", "Name=!", "Role=consumer")
description("nobody", "Name=fuzz.nobody_is-there", *SIZES)
description("other_type", "Name=!", kind=2)
description("twice", "Name=!", "Name=!")
description("sizes_twice", "Name=!", "SlotBytes=100", "SlotBytes=200")
description("no_name", *SIZES)
description("no_sizes", "Name=fuzz-a", "SlotBytes=1")
description("group", "Name=fuzz-a", "Group=0", *SIZES, "Role=consumer")
description("folder", "Name=../a", *SIZES)
description("folder_itself", "Name=..", *SIZES)
description("slash_alone", "Name=/", *SIZES)
description("slash_inside", "Name=/a/b", *SIZES)
description("longest_name", "Name=" + "n" * 200, *SIZES)
description("name_too_long", "Name=/" + "n" * 200, *SIZES)
description("largest", "SlotBytes=4294967295", "SlotCount=1")
description("too_large", "SlotBytes=65536", "SlotCount=65536")
description("most_slots", "SlotBytes=1", "SlotCount=65536")
description("numbers", "Name=!", "SlotBytes=4294967396", "SlotCount=4")
description("number_of_zeros", "Name=!", "SlotBytes=0000000100", "SlotCount=0")
description("number_with_sign", "Name=!", "SlotBytes=+100", "SlotCount=-4")
description("empty", "Name=", "SlotBytes=", "=", "")
