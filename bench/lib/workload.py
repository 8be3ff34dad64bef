"""Rows of the W1 workload shared by the whole-process benchmarks: 200,000 rows
of an integer id, a two-decimal amount, a text from 500 values, an integer, a
text from 26 words, a binary fraction, a negative integer, a near-unique
10-character text, a 17-digit double and a text from 97 values."""
import random

WORDS = ["alpha", "bravo", "charlie", "delta", "echo", "foxtrot", "golf", "hotel", "india", "juliet", "kilo",
         "lima", "mike", "november", "oscar", "papa", "quebec", "romeo", "sierra", "tango", "uniform", "victor",
         "whiskey", "xray", "yankee", "zulu"]
CUSTOMERS = ["Customer %03d" % i for i in range(500)]
CITIES = ["City %02d" % i for i in range(97)]
LETTERS = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
ROWS = 200000


def w1_rows(rows=ROWS):
    """Yields each row as ten values (numbers as int/float, texts as str), the
    same sequence every time."""
    rng = random.Random(1)
    for r in range(rows):
        yield [r + 1, rng.randint(0, 10**6) / 100, CUSTOMERS[rng.randrange(500)], rng.randint(0, 10**6),
               WORDS[rng.randrange(26)], rng.randrange(1024) / 1024, -rng.randint(1, 10**6),
               "".join(rng.choice(LETTERS) for _ in range(10)), rng.random() * 1000,
               CITIES[rng.randrange(97)]]
