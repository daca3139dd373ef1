#!/usr/bin/env python3
"""Peak resident memory of `velmara-cli scan` over many small cards (240 x 240 pixels, 600 dpi,
the size of a card cut from a sheet, unless --width, --height and --coverage say otherwise). A
card's memory must follow its stains, not its area, and a batch's must not grow with its pixels:
10,000 cards of 1.6 x 1.2 inches with 10 % coverage are --width 960 --height 720 --coverage 0.1.

The cards are made once with velmara-cardgen, each with its own seed, into CACHE_DIR (default: the
system's temporary folder) and reused by later runs.

usage: smallcards_memory.py VELMARA_CLI VELMARA_CARDGEN [--counts 250,1000,4000] [--cache DIR]
                           [--width PX] [--height PX] [--coverage SHARE]
Prints one line per count: cards, peak resident memory in MB, and per card in KB.
"""

import argparse
import os
import resource
import subprocess
import sys
import tempfile

SIDE = 240


def make_cards(cardgen, folder, count, width, height, coverage):
    os.makedirs(folder, exist_ok=True)
    paths = []
    extra = ['--coverage', str(coverage)] if coverage is not None else []
    for i in range(1, count + 1):
        path = os.path.join(folder, 'card%05d.bmp' % i)
        if not os.path.exists(path):
            subprocess.run([cardgen, 'card', path, '--width', str(width), '--height', str(height),
                            '--seed', str(i), '--dpi', '600'] + extra, check=True, stdout=subprocess.DEVNULL)
        paths.append(path)
    return paths


def peak_kb(cli, paths):
    """Runs one scan in a fresh child and gives the child's peak resident set in KB."""
    pid = os.fork()
    if pid == 0:
        devnull = os.open(os.devnull, os.O_WRONLY)
        os.dup2(devnull, 1)
        os.execv(cli, [cli, 'scan', '--no-log', '--dpi', '600'] + paths)
    _, status, usage = os.wait4(pid, 0)
    if os.waitstatus_to_exitcode(status) != 0:
        sys.exit('velmara-cli scan failed with %d' % os.waitstatus_to_exitcode(status))
    return usage.ru_maxrss


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('cli')
    parser.add_argument('cardgen')
    parser.add_argument('--counts', default='250,1000,4000')
    parser.add_argument('--cache', default=os.path.join(tempfile.gettempdir(), 'velmara-smallcards'))
    parser.add_argument('--width', type=int, default=SIDE)
    parser.add_argument('--height', type=int, default=SIDE)
    parser.add_argument('--coverage', type=float)
    args = parser.parse_args()
    counts = [int(c) for c in args.counts.split(',')]
    # Each size and coverage has a folder of its own, so that cached cards are never mixed.
    folder = args.cache
    if (args.width, args.height, args.coverage) != (SIDE, SIDE, None):
        folder = os.path.join(args.cache, '%dx%d-%s' % (args.width, args.height, args.coverage))
    cards = make_cards(args.cardgen, folder, max(counts), args.width, args.height, args.coverage)
    print('%8s %10s %10s' % ('cards', 'peak MB', 'KB/card'))
    for n in counts:
        kb = peak_kb(args.cli, cards[:n])
        print('%8d %10.1f %10.1f' % (n, kb / 1024, kb / n))


if __name__ == '__main__':
    main()
