#!/usr/bin/env python3
"""Throughput and peak memory of velmara-cli over batches of generated cards of 1.6 x 1.2 inches
at 600 dpi with 10 % coverage: `scan --jobs 1`, `scan --jobs 2`, and `xargs -P2` running one
process per card; then `line --from-json` over the JSON of the whole batch.

The distinct cards are made once with velmara-cardgen into CACHE_DIR (default: the system's
temporary folder); a batch larger than that gives the same pictures more names (hard links), so
that 10,000 cards need not take 7 GB of disk.

usage: batch.py VELMARA_CLI VELMARA_CARDGEN [--counts 1000,10000] [--distinct 1000] [--cache DIR]
Prints one line per run: cards, what ran, seconds, cards per second, processor seconds (user and
system, all processes), peak resident memory in MB. On a machine busy with other work the
processor seconds tell more than the clock.
"""

import argparse
import os
import subprocess
import sys
import tempfile
import time

WIDTH, HEIGHT, DPI = 960, 720, 600  # 1.6 x 1.2 inches


def make_cards(cardgen, folder, count):
    os.makedirs(folder, exist_ok=True)
    paths = []
    for i in range(1, count + 1):
        path = os.path.join(folder, 'card%05d.bmp' % i)
        if not os.path.exists(path):
            subprocess.run([cardgen, 'card', path, '--width', str(WIDTH), '--height', str(HEIGHT),
                            '--seed', str(i), '--coverage', '0.1', '--dpi', str(DPI)],
                           check=True, stdout=subprocess.DEVNULL)
        paths.append(path)
    return paths


def batch_folder(cache, distinct, count):
    folder = os.path.join(cache, 'batch%d' % count)
    os.makedirs(folder, exist_ok=True)
    for i in range(count):
        link = os.path.join(folder, 'card%05d.bmp' % (i + 1))
        if not os.path.exists(link):
            os.link(distinct[i % len(distinct)], link)
    return folder


def waited(pid, start):
    """Waits for pid: seconds since start, processor seconds and the peak resident set in MB of
    the child or of the largest process it waited for."""
    _, status, usage = os.wait4(pid, 0)
    seconds = time.monotonic() - start
    if os.waitstatus_to_exitcode(status) != 0:
        sys.exit('a run failed with %d' % os.waitstatus_to_exitcode(status))
    return seconds, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def timed(argv, stdout=subprocess.DEVNULL):
    start = time.monotonic()
    return waited(subprocess.Popen(argv, stdout=stdout).pid, start)


def report(count, what, seconds, cpu, peak):
    print('%8d  %-24s %8.2f s %9.1f cards/s %8.2f cpu s %8.1f MB'
          % (count, what, seconds, count / seconds, cpu, peak), flush=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('cli')
    parser.add_argument('cardgen')
    parser.add_argument('--counts', default='1000,10000')
    parser.add_argument('--distinct', type=int, default=1000)
    parser.add_argument('--cache', default=os.path.join(tempfile.gettempdir(), 'velmara-batch'))
    args = parser.parse_args()
    counts = [int(c) for c in args.counts.split(',')]
    distinct = make_cards(args.cardgen, os.path.join(args.cache, 'distinct'), min(args.distinct, max(counts)))
    settings = os.path.join(args.cache, 'settings.ini')
    with open(settings, 'w') as f:
        f.write('[Prefs]\n')
    common = ['--settings', settings, '--dpi', str(DPI), '--no-log']
    load = os.getloadavg()[0]
    print('load average before: %.2f (other work on the machine slows every figure)' % load)

    for count in counts:
        folder = batch_folder(args.cache, distinct, count)
        for jobs in (1, 2):
            report(count, 'scan --jobs %d' % jobs, *timed([args.cli, 'scan', '--jobs', str(jobs)] + common + [folder]))
        finder = subprocess.Popen(['find', folder, '-name', '*.bmp', '-print0'], stdout=subprocess.PIPE)
        start = time.monotonic()
        xargs = subprocess.Popen(['xargs', '-0', '-P2', '-n1', args.cli, 'scan', '--jobs', '1'] + common,
                                 stdin=finder.stdout, stdout=subprocess.DEVNULL)
        finder.stdout.close()
        measured = waited(xargs.pid, start)
        finder.wait()
        report(count, 'xargs -P2, one per card', *measured)

        shard = os.path.join(args.cache, 'batch%d.json' % count)
        with open(shard, 'w') as out:
            timed([args.cli, 'scan', '--json', '--jobs', '2'] + common + [folder], stdout=out)
        results = os.path.join(args.cache, 'results%d.txt' % count)
        report(count, 'line --from-json', *timed([args.cli, 'line', '--from-json', '--settings', settings,
                                                  '--out', results, shard]))


if __name__ == '__main__':
    main()
