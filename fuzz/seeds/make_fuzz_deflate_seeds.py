#!/usr/bin/env python3
# Writes the seeds of fuzz_deflate: raw deflate streams of every block type,
# made by zlib. Run from the repository root.
import zlib


def raw(data, level, strategy=zlib.Z_DEFAULT_STRATEGY):
    c = zlib.compressobj(level, zlib.DEFLATED, -15, 8, strategy)
    return c.compress(data) + c.flush()


def sync_then_final():
    c = zlib.compressobj(1, zlib.DEFLATED, -15)
    return c.compress(b"one piece ") + c.flush(zlib.Z_SYNC_FLUSH) + c.compress(b"and the next") + c.flush()


seeds = {
    "empty-fixed": bytes([3, 0]),
    "stored": raw(b"stored text", 0),
    "fixed": raw(b"abcabcabcabc", 6, zlib.Z_FIXED),
    "dynamic": raw(b"".join(b'<c r="A%d"><v>%d</v></c>' % (i, i * 7) for i in range(300)), 6),
    "sync-then-final": sync_then_final(),
}
for name, data in seeds.items():
    with open("fuzz/seeds/fuzz_deflate/" + name, "wb") as out:
        out.write(data)
