#!/usr/bin/env python3
"""Which mutants mutate.py tries, and when it fails."""

import unittest
from types import SimpleNamespace

from mutate import sample, too_few


def sampled(**options):
    arguments = {"whole": False, "count": None, "seconds": 240, "seed": 1, **options}
    return list(sample(range(1000), SimpleNamespace(**arguments)))


class SampleTest(unittest.TestCase):
    def test_the_whole_is_everything_in_its_order(self):
        self.assertEqual(sampled(whole=True), list(range(1000)))

    def test_a_seed_and_a_count_say_which_whatever_the_time(self):
        self.assertEqual(len(sampled(count=100, seconds=0)), 100)
        self.assertEqual(sampled(count=100, seconds=0), sampled(count=100))
        self.assertNotEqual(sampled(count=100), sampled(count=100, seed=2))

    def test_a_longer_sample_begins_like_a_shorter_one(self):
        self.assertEqual(sampled(count=200)[:100], sampled(count=100))
        self.assertEqual(sampled()[:100], sampled(count=100))

    def test_without_time_nothing_is_tried(self):
        self.assertEqual(sampled(seconds=-1), [])


class ShareTest(unittest.TestCase):
    def test_ninety_five_of_a_hundred_are_enough(self):
        self.assertFalse(too_few(100, 95, True))
        self.assertTrue(too_few(100, 94, True))

    def test_of_a_small_sample_the_share_tells_nothing(self):
        self.assertFalse(too_few(99, 90, False))
        self.assertTrue(too_few(100, 90, False))
        self.assertTrue(too_few(99, 90, True))


if __name__ == "__main__":
    unittest.main()
