#!/usr/bin/env python3
"""Second, independent model of the card analysis: decode an 8-bit BMP, walk the stains, build
the size table and write the scan log, then check that velmara-cli writes the same bytes.

Written from the description of the behaviour alone, in plain loops, so that a fault the engine
shares with its own unit tests shows up here as a byte difference.

usage: scanlog_reference.py VELMARA_CLI VELMARA_CARDGEN [SAMPLES_DIR]
"""

import math
import os
import random
import shutil
import struct
import subprocess
import sys
import tempfile

from textforms import Columns, f32, fixed

PI = 4.0 * math.atan(1.0)


def rgb_to_hue(red, green, blue):
    top, low = max(red, green, blue), min(red, green, blue)
    d = top - low
    if d == 0:
        h = -2.0
    elif red == top:
        h = f32((green - blue) / d)
    elif green == top:
        h = f32(2 + (blue - red) / d)
    else:
        h = f32(4 + (red - green) / d)
    h = f32(h / 6)
    if h < 0:
        h = f32(h + 1)
    elif h > 1:
        h = f32(h - 1)
    return int(h * 255)


# ---------------------------------------------------------------------------------------------
# Card: registration and decoding of an 8-bit BMP

class Card:
    def __init__(self, path, dpi):
        self.path = path
        self.name = os.path.basename(path)
        with open(path, 'rb') as f:
            data = f.read()
        self.width, self.height = struct.unpack_from('<ii', data, 18)
        if struct.unpack_from('<h', data, 28)[0] != 8:
            raise ValueError('not an 8-bit bitmap: ' + path)
        self.dpi = dpi
        self.mpp = ((1 / dpi) / 12 / 3.2808) * 1000000
        self.area_cm2 = (self.width * self.mpp / 10000) * (self.height * self.mpp / 10000)
        self.decode(data)

    def decode(self, data):
        """Background answered "Yes", dither answered "Yes"."""
        w, h = self.width, self.height
        pixel_offset, colours = struct.unpack_from('<ii', data, 10)[0], struct.unpack_from('<i', data, 46)[0]
        if colours == 0:
            colours = 256
        self.hue_of = [0] * 257
        for i in range(colours):
            b, g, r = data[54 + 4 * i], data[55 + 4 * i], data[56 + 4 * i]
            self.hue_of[i] = rgb_to_hue(r, g, b)
        sample_start = 54 + 4 * colours
        counts = [0] * 256
        for byte in data[sample_start:sample_start + 5 * w]:
            counts[byte] += 1
        top = second = 0
        top_count = second_count = 0
        for i in range(1, 256):
            if counts[i] > top_count:
                second, second_count = top, top_count
                top, top_count = i, counts[i]
            elif counts[i] > second_count:
                second, second_count = i, counts[i]
        self.background = top if top_count > counts[0] else 0
        # With no dither question put the engine gives the dither index the background's value,
        # so that colour index 0 stays foreground on a card whose background is another index.
        self.dither = second if second_count / (5 * w) > 0.1 else self.background
        padding = 4 - w % 4
        if padding == 4:
            padding = 0
        # Element 0 stays empty; pixels are (hue, row, column, index) from element 1 on.
        self.pixels = [(0, 0, 0, 0)]
        pos = pixel_offset
        for n in range(h):
            row = data[pos:pos + w]
            pos += w + padding
            for c in range(1, w + 1):
                b = row[c - 1]
                if b != self.background and b != self.dither:
                    self.pixels.append((self.hue_of[b], h - n, c, b))
        last_row = self.pixels[-1][1] if len(self.pixels) > 1 else 0
        self.pixels.append((self.hue_of[0], last_row, w, 0))
        # Results of a card never scanned before.
        self.size_table = []
        self.vmd = self.drop_density = self.volume_density = 0.0


# ---------------------------------------------------------------------------------------------
# Stain walk

class Run:
    def __init__(self, start, end):
        self.start, self.end = start, end
        self.joined = False
        self.hue_valid = False
        self.hue_hits = 0
        self.area = 0
        self.first_row = self.last_row = 0
        self.min_col = self.max_col = 0


def overlaps(r_start, r_end, a, b):
    return a <= r_start <= b or a <= r_end <= b or (r_start <= a and r_end >= b)


def stain_walk(pixels, hue_low, hue_high, invert, shape_threshold, hue_threshold):
    """Gives (ValidAreas, Rejected)."""
    shape_limit = f32(shape_threshold / 100)
    hue_limit = f32(hue_threshold / 100)
    closing = len(pixels) - 1
    active, valid, rejected = [], [], 0
    p = 1
    for line in range(pixels[1][1], pixels[closing][1] - 1, -1):
        runs = []
        while p != closing and pixels[p][1] >= line:
            hue, row, col, _ = pixels[p]
            if row == line:
                if runs and col == runs[-1].end + 1:
                    runs[-1].end = col
                else:
                    runs.append(Run(col, col))
                inside = hue_low <= hue <= hue_high
                if inside != invert:
                    runs[-1].hue_valid = True
                    runs[-1].hue_hits += 1
            p += 1
        # Continue the stains.
        for s in active:
            s.joined = False
            a, b = s.start, s.end
            for r in runs:
                if overlaps(r.start, r.end, a, b) and not r.joined:
                    if not s.joined:
                        s.start = r.start
                    s.end = r.end
                    s.min_col = min(s.min_col, r.start)
                    s.max_col = max(s.max_col, r.end)
                    if r.hue_valid:
                        s.hue_valid = True
                    s.hue_hits += r.hue_hits
                    s.joined = r.joined = True
                    s.area += r.end - r.start + 1
        # New stains.
        for r in runs:
            if not r.joined:
                s = Run(r.start, r.end)
                s.min_col, s.max_col = r.start, r.end
                s.first_row = line
                s.area = r.end - r.start + 1
                s.hue_valid, s.hue_hits = r.hue_valid, r.hue_hits
                s.joined = True
                active.append(s)
        # Merge a stain that lost its run into the joined stains it overlaps.
        for s in active:
            if s.joined:
                continue
            a, b = s.start, s.end
            for t in active:
                if t.joined and overlaps(t.start, t.end, a, b):
                    t.end = s.end
                    t.area += s.area
                    if s.hue_valid:
                        t.hue_valid = True
                    t.hue_hits += s.hue_hits
                    s.hue_valid = False
        # Close and judge.
        keep = []
        for s in active:
            if p != closing and s.joined:
                keep.append(s)
                continue
            s.last_row = line + 1
            width = s.max_col - s.min_col + 1
            height = abs(s.last_row - s.first_row) + 1
            length = max(width, height)
            if s.hue_hits == 0:
                rejected += 1
            else:
                roundness = f32(abs(1 - s.area / (length ** 2 * PI / 4)))
                if roundness > shape_limit and s.area > 15:
                    s.hue_valid = False
                    rejected += 1
                else:
                    share = f32(s.hue_hits / s.area)
                    if share < hue_limit:
                        s.hue_valid = False
                        rejected += 1
            if s.hue_valid:
                valid.append(s.area)
        active = keep
    return valid, rejected


# ---------------------------------------------------------------------------------------------
# Size table and card results

def build_size_table(card, valid_areas, spread):
    """Fills card.size_table (rows as dicts) and the card's results."""
    if not valid_areas:
        card.size_table = []
        return
    table = {}
    total = 0.0
    for a in valid_areas:
        row = table.setdefault(a, {'area': a, 'count': 0, 'volume': 0.0, 'diameter': 0.0})
        row['count'] += 1
        if row['volume'] == 0:
            d = 2 * math.sqrt(card.mpp ** 2 * a / PI)
            row['diameter'] = f32(spread[0] + spread[1] * d + spread[2] * d ** 2)
            row['volume'] = f32((row['diameter'] / 2) ** 3 * (4 / 3 * PI))
        total += row['volume']
    stains = len(valid_areas)
    cum_volume = cum_number = 0.0
    rows = [table[a] for a in sorted(table)]
    for row in rows:
        row['vf'] = f32(row['count'] * row['volume'] / total)
        cum_volume += row['vf']
        row['cvf'] = f32(cum_volume)
        row['nf'] = f32(row['count'] / stains)
        cum_number += row['nf']
        row['cnf'] = f32(cum_number)
    card.volume_density = (total / 1000000) / card.area_cm2
    previous = {'cvf': 0.0, 'diameter': 0.0}
    for row in rows:
        if row['cvf'] > 0.5 and previous['cvf'] < 0.5:
            card.vmd = ((0.5 - previous['cvf']) / (row['cvf'] - previous['cvf'])
                        * (row['diameter'] - previous['diameter']) + previous['diameter'])
        previous = row
    card.drop_density = stains / card.area_cm2
    card.size_table = rows


# ---------------------------------------------------------------------------------------------
# Scan log

def scan_log(card, hue_low, hue_high, invert, metric):
    out = Columns()

    def label(name, value):
        out.text(name)
        out.tab(29)
        out.line(value)

    out.line('Velmara -- Orvinek Droplet Analysis Program')
    out.line()
    out.line('File: ' + card.name)
    out.line('-' * 50)
    out.line()
    out.line('Scan Information:')
    out.line('-' * 17)
    out.text('Optical Resolution:')
    out.tab(28)
    out.number(card.dpi)
    out.line('d.p.i.')
    label('Image Size:', fixed(card.width * card.mpp / 10000, 2) + '\u00d7'
          + fixed(card.height * card.mpp / 10000, 2) + ' cm')
    if invert:
        hues = '0 to %d and %d to 255' % (hue_low - 1, hue_high + 1)
    else:
        hues = '%d to %d' % (hue_low, hue_high)
    label('Hue Range:', hues)
    label('VMD:', fixed(card.vmd, 1) + ' \u00b5m' if card.size_table else '--- \u00b5m')
    label('Drop Density:', fixed(card.drop_density, 2) + ' drops/cm\u00b2')
    deposit = card.volume_density * (0.1 if metric else 1.368)
    label('Volume:', fixed(card.volume_density, 2) + ' nL/cm\u00b2 = '
          + fixed(deposit, 3) + (' L/ha' if metric else ' oz/ac'))
    out.line()
    out.line('Results:')
    out.line('-' * 8)
    for word, column in (('Area', 3), ('Count', 12), ('Diameter', 22), ('Volume', 35),
                         ('Cumulative', 48), ('Drop Density', 62), ('Number', 79), ('Cumulative', 91)):
        out.tab(column)
        out.text(word)
    out.end()
    for word, column in (('(pixels)', 1), ('(\u00b5m)', 24), ('Fraction%', 34), ('V.F. (%)', 49),
                         ('(#/cm\u00b2)', 64), ('Fraction%', 78), ('N.F. (%)', 92)):
        out.tab(column)
        out.text(word)
    out.end()
    if card.size_table:
        for row in card.size_table:
            out.tab(3)
            out.number(row['area'])
            out.number_ending(15, row['count'])
            out.ending(28, fixed(row['diameter'], 3, 7))
            out.ending(40, fixed(f32(row['vf'] * 100), 2, 7))
            out.ending(55, fixed(f32(row['cvf'] * 100), 2, 7))
            out.ending(69, fixed(row['count'] / card.area_cm2, 3))
            out.ending(84, fixed(f32(row['nf'] * 100), 2, 7))
            out.ending(98, fixed(f32(row['cnf'] * 100), 2, 7))
            out.end()
    else:
        out.line()
        out.line('-' * 30 + ' NO DROPS FOUND ' + '-' * 30)
    out.line()
    return out.data()


def reference_log(path, dpi, hues=(0, 255), invert=False, shape=100, hue_share=0,
                  spread=(0.0, 0.56, 0.0), metric=True):
    card = Card(path, dpi)
    valid, _ = stain_walk(card.pixels, hues[0], hues[1], invert, shape, hue_share)
    build_size_table(card, valid, spread)
    return scan_log(card, hues[0], hues[1], invert, metric)


# ---------------------------------------------------------------------------------------------
# Hand-made cards for the corners of the walk

PALETTE = [(255, 255, 255), (255, 0, 0), (200, 30, 40), (128, 128, 128), (0, 0, 255),
           (255, 128, 0), (230, 20, 200), (255, 0, 30), (250, 240, 245), (0, 160, 60)]


def write_bmp(path, rows, palette=PALETTE, colours_used=None, gap=0, gap_index=0):
    """rows: lists of colour indexes, top line first; `gap` bytes of `gap_index` between the
    colour table and the pixels."""
    h, w = len(rows), len(rows[0])
    stride = (w + 3) // 4 * 4
    table = b''.join(bytes((b, g, r, 0)) for r, g, b in palette)
    offset = 54 + len(table) + gap
    pixels = b''.join(bytes(r) + b'\0' * (stride - w) for r in reversed(rows))
    header = struct.pack('<2sIHHI', b'BM', offset + len(pixels), 0, 0, offset)
    info = struct.pack('<IiiHHIIiiII', 40, w, h, 1, 8, 0, len(pixels), 0, 0,
                       len(palette) if colours_used is None else colours_used, 0)
    with open(path, 'wb') as f:
        f.write(header + info + table + bytes((gap_index,)) * gap + pixels)


def picture(text):
    """ASCII art: '.' is index 0, a digit or letter is that colour index (base 36)."""
    lines = text.strip('\n').split('\n')
    w = max(len(line) for line in lines)
    return [[0 if ch in '. ' else int(ch, 36) for ch in line.ljust(w, '.')] for line in lines]


SHAPES = picture('''
..1......1....22222.......3333333333333333333333....6..........
..1......1...2.....2.....................................7.....
..1......1..2..111..2.....1...1..1.1.1................7..7..7..
..11111111..2..1.1..2......1.1...........1............7..7..7..
............2..111..2.......1....4444...11..............777....
.............2.....2.......1.1...4..4..111..5.5.5..............
..6.....6.....22222.......1...1..4444.1111..55555..1122334455..
..66...66.................................................6....
...66.66....9999999999.......66666666..........................
....666.....9...............6........6....1...................1
...............................................................
.111111111111111..1111111111111111...1177...11777...117...1.7.7
''')


# Colours whose hue falls on a range bound only when every step is rounded to Single as
# written: 44 and 200 (43 and 201 in Double), 169 for black (170 in Double).
HUE_EDGES = [(255, 255, 255), (82, 85, 0), (62, 0, 85), (0, 0, 0), (0, 2, 85), (255, 128, 0),
             (230, 20, 200), (124, 0, 170), (164, 170, 0)]


def hue_edge_card():
    """Colour k as a line of k pixels, so that each colour is one row of the size table."""
    rows = []
    for k in range(1, len(HUE_EDGES)):
        rows += [[0] * 12, [k] * k + [0] * (12 - k)]
    return rows


def noise_card(seed, w, h, share):
    rng = random.Random(seed)
    inks = [1, 2, 3, 5, 6, 7, 8, 9]
    return [[rng.choice(inks) if rng.random() < share else 0 for _ in range(w)] for _ in range(h)]


def comb_card(teeth, height):
    """Lines are walked bottom up. The upper comb hangs its teeth from a bar: the teeth come
    first, as many stains, and the bar's run goes to the first of them while the others merge.
    The lower comb stands on its bar: one stain swallows all the teeth's runs of a line. At the
    bottom a chequerboard, whose pixels touch only at corners."""
    w = 2 * teeth + 1
    rows = [[1] * w]
    rows += [[1 if x % 2 == 0 else 0 for x in range(w)] for _ in range(height)]
    rows += [[0] * w]
    rows += [[2 if x % 2 == 1 else 0 for x in range(w)] for _ in range(height)]
    rows += [[0] + [2] * (w - 2) + [0], [0] * w]
    rows += [[6 if (x + y) % 2 else 0 for x in range(w)] for y in range(6)]
    return rows


def dithered_card(seed, w, h):
    """Background index 3 dithered with index 8, a few red blobs, grey dust."""
    rng = random.Random(seed)
    rows = [[3 if (x + y) % 3 else 8 for x in range(w)] for y in range(h)]
    for _ in range(12):
        cx, cy, r = rng.randrange(w), rng.randrange(h), rng.uniform(0.5, 5)
        for y in range(h):
            for x in range(w):
                if (x - cx) ** 2 + (y - cy) ** 2 <= r * r:
                    rows[y][x] = rng.choice((1, 2, 7, 0))
    return rows


def sampled_card(seed, w, h, sample, fill, inks):
    """The five bottom lines hold the colour counts of `sample` (index, count), shuffled; above
    them lies `fill` with blobs of `inks`. With a width that is a multiple of 4 the five lines
    are exactly what the background choice samples."""
    rng = random.Random(seed)
    bottom = [i for i, n in sample for _ in range(n)]
    rng.shuffle(bottom)
    rows = [[fill] * w for _ in range(h - 5)]
    for _ in range(w * h // 40):
        cx, cy, r = rng.randrange(w), rng.randrange(h - 6), rng.uniform(0.5, 3)
        ink = rng.choice(inks)
        for y in range(h - 5):
            for x in range(w):
                if (x - cx) ** 2 + (y - cy) ** 2 <= r * r:
                    rows[y][x] = ink
    return rows + [bottom[k * w:(k + 1) * w] for k in range(5)]


def make_cards(folder, cardgen, samples):
    os.makedirs(folder)
    write_bmp(os.path.join(folder, 'shapes.bmp'), SHAPES)
    write_bmp(os.path.join(folder, 'blank.bmp'), [[0] * 16 for _ in range(9)])
    for seed, (w, h) in enumerate(((61, 47), (42, 33), (13, 90), (97, 8))):
        write_bmp(os.path.join(folder, 'noise%d.bmp' % seed), noise_card(seed, w, h, 0.42 + seed / 20))
    # A dithered background, and a gap of zeros between colour table and pixels.
    write_bmp(os.path.join(folder, 'dither.bmp'), dithered_card(7, 45, 30), gap=6)
    # Six colours: indexes 7 to 9 lie beyond the table and take the hue 0.
    write_bmp(os.path.join(folder, 'short.bmp'), noise_card(11, 23, 19, 0.3), palette=PALETTE[:6],
              colours_used=6)
    # Colours used 0 stands for a full table of 256.
    full = PALETTE + [(k, 255 - k, (7 * k) % 256) for k in range(len(PALETTE), 256)]
    rows = [[(x * 7 + y * 13) % 256 if (x + y) % 5 else 0 for x in range(37)] for y in range(29)]
    write_bmp(os.path.join(folder, 'full.bmp'), rows, palette=full, colours_used=0)
    write_bmp(os.path.join(folder, 'dot.bmp'), [[1]])
    write_bmp(os.path.join(folder, 'comb.bmp'), comb_card(150, 9))
    # 32 stains of 32 areas: number shares of 3.125 %, 9.375 %... are exact ties in binary,
    # which the number forms round away from zero.
    write_bmp(os.path.join(folder, 'ties.bmp'),
              [[1 if x < k // 2 and k % 2 == 0 else 0 for x in range(33)] for k in range(2, 66)])
    write_bmp(os.path.join(folder, 'crowd_a.bmp'), noise_card(21, 320, 160, 0.5))
    write_bmp(os.path.join(folder, 'crowd_b.bmp'), noise_card(22, 701, 40, 0.35))
    write_bmp(os.path.join(folder, 'crowd_c.bmp'), noise_card(23, 250, 120, 0.62))
    write_bmp(os.path.join(folder, 'column.bmp'), [[1], [1], [0], [2], [2], [2], [0]])
    # Background and dither choice at their boundaries (width 20: 100 sampled bytes).
    write_bmp(os.path.join(folder, 'bg_tie.bmp'),  # index 3 only equals index 0: 0 stays
              sampled_card(1, 20, 24, [(0, 50), (3, 50)], 3, [1, 2, 0]))
    write_bmp(os.path.join(folder, 'bg_top.bmp'),  # 3 wins, 8 at exactly a tenth: no dither
              sampled_card(2, 20, 24, [(3, 60), (0, 25), (8, 10), (1, 5)], 3, [1, 0, 8, 5]))
    write_bmp(os.path.join(folder, 'bg_zero_dither.bmp'),  # 0 wins, 8 dithers, 3 stays ink
              sampled_card(3, 20, 24, [(0, 55), (3, 30), (8, 11), (1, 4)], 0, [1, 3, 8]))
    write_bmp(os.path.join(folder, 'bg_order.bmp'),  # 9 overtakes 5, which becomes the dither
              sampled_card(4, 20, 24, [(5, 20), (9, 40), (0, 30), (1, 10)], 9, [1, 0, 5, 2]))
    write_bmp(os.path.join(folder, 'bg_second_tie.bmp'),  # 5 and 8 tie behind 3: 5 dithers
              sampled_card(5, 20, 24, [(0, 40), (3, 30), (8, 15), (5, 15)], 0, [1, 3, 5, 8]))
    write_bmp(os.path.join(folder, 'hue_edges.bmp'), hue_edge_card(), palette=HUE_EDGES)
    # The sample starts at the end of the colour table: here it reads the gap, all index 3,
    # which so becomes the background although the bottom lines are index 0.
    rows = sampled_card(6, 20, 24, [(0, 100)], 3, [1, 0, 5])
    write_bmp(os.path.join(folder, 'gap.bmp'), rows, gap=60, gap_index=3)
    generated = [
        ('gen_a.bmp', ['--width', '203', '--height', '151', '--seed', '3']),
        ('gen_b.bmp', ['--width', '160', '--height', '120', '--seed', '4', '--specks', '0.01',
                       '--background-index', '17', '--dither', '18', '--palette', '64']),
        ('gen_c.bmp', ['--width', '131', '--height', '97', '--seed', '5', '--hue', '30',
                       '--coverage', '0.3', '--max-radius', '9']),
        ('gen_d.bmp', ['--width', '99', '--height', '77', '--seed', '6', '--separate']),
    ]
    for name, options in generated:
        subprocess.run([cardgen, 'card', os.path.join(folder, name)] + options, check=True,
                       stdout=subprocess.DEVNULL)
    if samples and os.path.isdir(samples):
        for name in sorted(os.listdir(samples)):
            if name.lower().endswith('.bmp'):
                shutil.copy(os.path.join(samples, name), folder)
    # The log name keeps the case of the image name; the card's name is written in Windows-1252.
    shutil.copy(os.path.join(folder, 'noise1.bmp'), os.path.join(folder, 'UPPER.BMP'))
    shutil.copy(os.path.join(folder, 'shapes.bmp'), os.path.join(folder, 'tache_\u00e9t\u00e9.bmp'))
    return sorted(n for n in os.listdir(folder) if n.lower().endswith('.bmp'))


# ---------------------------------------------------------------------------------------------
# The runs

RUNS = [
    # name, command line options, settings file, reference options
    ('default', ['--dpi', '600'], '', {'dpi': 600}),
    ('hue', ['--dpi', '600', '--hue', '200:255'], '', {'dpi': 600, 'hues': (200, 255)}),
    ('invert', ['--dpi', '600', '--hue', '44:200', '--invert-hue'], '',
     {'dpi': 600, 'hues': (44, 200), 'invert': True}),
    ('invert_all', ['--dpi', '600', '--hue', '0:255', '--invert-hue'], '',
     {'dpi': 600, 'hues': (0, 255), 'invert': True}),
    ('thresholds', ['--dpi', '600', '--hue', '0:169'],
     '[Prefs]\nShapeThreshold=80\nHueThreshold=50\n',
     {'dpi': 600, 'hues': (0, 169), 'shape': 80, 'hue_share': 50}),
    ('spread', ['--dpi', '1200'],
     '[Prefs]\nSpreadFactor0=3.5\nSpreadFactor1=0.41\nSpreadFactor2=0.00075\n',
     {'dpi': 1200, 'spread': (3.5, 0.41, 0.00075)}),
    # One drop size for every stain: volume shares become count shares, so that a cumulative
    # share of exactly one half meets the strict median test.
    # Also the imperial deposit unit.
    ('constant', ['--dpi', '317'], '[Prefs]\nSpreadFactor0=150\nSpreadFactor1=0\nMetric=False\n',
     {'dpi': 317, 'spread': (150.0, 0.0, 0.0), 'metric': False}),
    # Negative drop diameters for the smallest stains: minus signs in the number forms.
    ('negative', ['--dpi', '600'], '[Prefs]\nSpreadFactor0=-40\n',
     {'dpi': 600, 'spread': (-40.0, 0.56, 0.0)}),
    # Diameters too wide for their column push the rest of a row onto the next line.
    ('wide', ['--dpi', '600'], '[Prefs]\nSpreadFactor1=0\nSpreadFactor2=5000\n',
     {'dpi': 600, 'spread': (0.0, 0.0, 5000.0)}),
]


def first_difference(a, b):
    la, lb = a.split(b'\r\n'), b.split(b'\r\n')
    for i in range(max(len(la), len(lb))):
        x = la[i] if i < len(la) else b'<end of file>'
        y = lb[i] if i < len(lb) else b'<end of file>'
        if x != y:
            return i + 1, x, y
    return 0, b'', b''


def main(argv):
    if len(argv) < 3:
        print(__doc__)
        return 2
    cli, cardgen = argv[1], argv[2]
    samples = argv[3] if len(argv) > 3 else None
    failures = 0
    compared = 0
    with tempfile.TemporaryDirectory(prefix='velmara-ref-') as work:
        source = os.path.join(work, 'cards')
        names = make_cards(source, cardgen, samples)
        for run, options, settings, ref in RUNS:
            folder = os.path.join(work, run)
            shutil.copytree(source, folder)
            ini = os.path.join(work, run + '.ini')
            with open(ini, 'w') as f:
                # An empty file is no settings file: a header alone stands for the defaults.
                f.write(settings or '[Prefs]\n')
            images = [os.path.join(folder, n) for n in names]
            env = dict(os.environ, LC_ALL='C.UTF-8')
            done = subprocess.run([cli, 'scan', '--settings', ini] + options + images,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, env=env)
            if done.returncode != 0:
                print('%s: velmara-cli ended with %d: %s' % (run, done.returncode,
                                                             done.stderr.decode(errors='replace')))
                failures += 1
            for image in images:
                log = image[:-3] + 'scn'
                expected = reference_log(image, **ref)
                try:
                    with open(log, 'rb') as f:
                        actual = f.read()
                except OSError:
                    print('%s/%s: no scan log written' % (run, os.path.basename(log)))
                    failures += 1
                    continue
                compared += 1
                if actual != expected:
                    failures += 1
                    line, want, got = first_difference(expected, actual)
                    print('%s/%s: first difference at line %d' % (run, os.path.basename(log), line))
                    print('  reference:   %r' % want)
                    print('  velmara-cli: %r' % got)
    print('%d scan logs compared, %d differences' % (compared, failures))
    return 1 if failures else 0


if __name__ == '__main__':
    sys.exit(main(sys.argv))
