#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""How scripts/bench judges what it has measured."""

import os
import sys
import unittest
from unittest import mock

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../../bench"))

import plot  # noqa: E402
import report  # noqa: E402
import tracing  # noqa: E402
from growth import ALL, COPY, NOTHING, RESTART, START, grows_too_fast  # noqa: E402

SIZES = [10, 100, 1000]


def measured(grows, *walls, starts=(0.1, 0.1, 0.1)):
    def costs(grows, walls):
        return [{"grows": grows, "wall": wall, "memory": 8 << 20, "bytes": 4096, "syncs": 2}
                for wall in walls]
    return {"sizes": SIZES,
            "operations": {"register": costs(grows, walls), START: costs(ALL, starts)}}


class Growth(unittest.TestCase):
    def test_operation_on_one_product_may_not_grow_with_the_others(self):
        self.assertFalse(grows_too_fast("wall", NOTHING, SIZES, [0.1, 0.12, 0.14]))
        self.assertTrue(grows_too_fast("wall", NOTHING, SIZES, [0.1, 0.12, 0.16]))

    def test_one_more_sync_of_an_operation_on_one_product_is_growth(self):
        self.assertFalse(grows_too_fast("syncs", NOTHING, SIZES, [7, 7, 7]))
        self.assertTrue(grows_too_fast("syncs", NOTHING, SIZES, [7, 7, 8]))

    def test_the_restart_may_grow_as_the_start_of_the_daemon_does(self):
        self.assertFalse(grows_too_fast("wall", RESTART, SIZES, [0.1, 0.2, 0.24], restart=0.1))
        self.assertTrue(grows_too_fast("wall", RESTART, SIZES, [0.1, 0.2, 0.26], restart=0.1))
        self.assertTrue(grows_too_fast("wall", NOTHING, SIZES, [0.1, 0.2, 0.24], restart=0.1))

    def test_few_milliseconds_are_no_growth(self):
        self.assertFalse(grows_too_fast("wall", NOTHING, SIZES, [0.001, 0.001, 0.004]))

    def test_disturbance_between_the_smallest_and_the_largest_is_no_growth(self):
        self.assertFalse(grows_too_fast("wall", NOTHING, SIZES, [0.1, 0.5, 0.1]))

    def test_operation_on_all_products_may_grow_linearly(self):
        for grows in (ALL, COPY):
            self.assertFalse(grows_too_fast("bytes", grows, SIZES, [10**6, 10**7, 10**8]))

    def test_operation_on_all_products_may_not_grow_with_their_square(self):
        for grows in (ALL, COPY):
            self.assertTrue(grows_too_fast("bytes", grows, SIZES, [10**6, 10**7, 10**9]))


class Report(unittest.TestCase):
    def test_growth_is_told_and_not_kept(self):
        text, kept = report.scale(measured(NOTHING, 0.1, 0.2, 0.4))
        self.assertFalse(kept)
        self.assertEqual(text.count("GROWS"), 1)
        self.assertRegex(text, r"\| register +\| 100\.0 ms +\| 200\.0 ms +\| 400\.0 ms +\| "
                               r"2\.0, 2\.0 ")

    def test_what_does_not_grow_is_kept(self):
        text, kept = report.scale(measured(NOTHING, 0.1, 0.1, 0.1))
        self.assertTrue(kept)
        self.assertNotIn("GROWS", text)

    def test_growth_of_the_start_is_allowed_to_what_restarts_the_daemon(self):
        starts = (0.1, 0.2, 0.3)
        _, kept = report.scale(measured(RESTART, 0.2, 0.3, 0.45, starts=starts))
        self.assertTrue(kept)
        _, kept = report.scale(measured(RESTART, 0.2, 0.3, 0.55, starts=starts))
        self.assertFalse(kept)

    def test_missed_limit_is_told_and_not_kept(self):
        text, kept = report.figures([["load", "3.0 ms / 1.0 ms", 3.0, 2.5, ""]])
        self.assertFalse(kept)
        self.assertIn("MISSED", text)

    def test_page_keeps_what_is_around_its_tables(self):
        page = mock.mock_open(
            read_data="before\n<!-- begin scale -->\nold\n<!-- end scale -->\nafter\n")
        with mock.patch("builtins.open", page):
            report.put_into_page("scale", "new\n")
        page().write.assert_called_once_with(
            "before\n<!-- begin scale -->\nnew\n<!-- end scale -->\nafter\n")


class Plot(unittest.TestCase):
    def test_labels_do_not_stand_on_each_other(self):
        places = sorted(plot.spread([50.0, 20.0, 20.0, 21.0]))
        self.assertTrue(all(after - before >= plot.TEXT_HEIGHT
                            for before, after in zip(places, places[1:])))

    def test_one_size_can_be_drawn(self):
        self.assertTrue(plot.panel("title", [10], [("register", [7.5])], 0))


class Trace(unittest.TestCase):
    def test_bytes_count_only_what_goes_into_files(self):
        self.assertEqual(tracing.count([
            '7 write(4</var/a>, ""..., 100) = 100\n',
            '7 pwrite64(4</var/a>(deleted), ""..., 50, 4096) = 50\n',
            '7 write(1</dev/null>, ""..., 5) = 5\n',
            '7 write(3<pipe:[7]>, ""..., 5) = 5\n',
            '7 write(5</var/full>, ""..., 5) = -1 ENOSPC (No space left on device)\n',
        ]), (150, 0))

    def test_copying_counts_where_it_goes_to(self):
        self.assertEqual(tracing.count([
            "7 copy_file_range(3</var/a>, NULL, 4</var/b>, NULL, 9223372035781033984, 0) = 206\n",
        ]), (206, 0))

    def test_call_that_another_process_interrupts_counts_once(self):
        self.assertEqual(tracing.count([
            '7 pwrite64(4</var/a>, ""..., 100, 0 <unfinished ...>\n',
            "8 fsync(5</var/b> <unfinished ...>\n",
            "7 <... pwrite64 resumed>) = 100\n",
            "8 <... fsync resumed>) = 0\n",
        ]), (100, 1))


if __name__ == "__main__":
    unittest.main()
