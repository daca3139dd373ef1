#!/usr/bin/env python3
"""Peak resident memory of `velmara-cli scan` over many small cards (240 x 240 pixels, 600 dpi),
the size of a card cut from a sheet. A card's memory must follow its stains, not its area.

The cards are made once with velmara-cardgen, each with its own seed, into CACHE_DIR (default: the
system's temporary folder) and reused by later runs.

usage: smallcards_memory.py VELMARA_CLI VELMARA_CARDGEN [--counts 250,1000,4000] [--cache DIR]
Prints one line per count: cards, peak resident memory in MB, and per card in KB.
"""

import argparse
import os
import resource
import subprocess
import sys
import tempfile

SIDE = 240


def make_cards(cardgen, folder, count):
    os.makedirs(folder, exist_ok=True)
    paths = []
    for i in range(1, count + 1):
        path = os.path.join(folder, 'card%05d.bmp' % i)
        if not os.path.exists(path):
            subprocess.run([cardgen, 'card', path, '--width', str(SIDE), '--height', str(SIDE),
                            '--seed', str(i), '--dpi', '600'], check=True, stdout=subprocess.DEVNULL)
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
    args = parser.parse_args()
    counts = [int(c) for c in args.counts.split(',')]
    cards = make_cards(args.cardgen, args.cache, max(counts))
    print('%8s %10s %10s' % ('cards', 'peak MB', 'KB/card'))
    for n in counts:
        kb = peak_kb(args.cli, cards[:n])
        print('%8d %10.1f %10.1f' % (n, kb / 1024, kb / n))


if __name__ == '__main__':
    main()
