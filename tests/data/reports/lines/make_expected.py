#!/usr/bin/env python3
"""Works out the expected results files of the sampling lines in *.cards, on its own, from the
written rules of the statistics and of the results file: run it after changing a .cards file
and review the difference of the expected files by eye.

Usage: make_expected.py line_a.cards ...   (writes line_a.expected.txt and line_a.expected.csv)
"""
import math
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..', '..', 'reference'))
from textforms import Columns, f32, fixed  # noqa: E402


def general(value):
    if value == int(value):
        return str(int(value))
    return repr(value)


# ---- input ------------------------------------------------------------------------------------
def read_cards(path):
    line = {'Metric': 1, 'RangeLow': 0.0, 'RangeHigh': 32755.0, 'ShapeThreshold': 100,
            'HueThreshold': 0, 'Spread': [0.0, 0.56, 0.0], 'spray': {}, 'cards': []}
    for raw in open(path, encoding='utf-8'):
        raw = raw.rstrip('\n')
        if not raw or raw.startswith('#'):
            continue
        kind, rest = raw.split(' ', 1)
        if kind == 'set':
            k, v = rest.split('=', 1)
            if k == 'Spread':
                line[k] = [float(x) for x in v.split(',')]
            elif k in ('RangeLow', 'RangeHigh'):
                line[k] = f32(float(v))
            else:
                line[k] = int(v)
        elif kind == 'spray':
            k, v = rest.split('=', 1)
            line['spray'][k] = v
        elif kind == 'card':
            f = dict(p.split('=', 1) for p in rest.split(' '))
            line['cards'].append({'name': f['name'], 'area': float(f['area']),
                                  'scanned': f['scanned'] == '1', 'vmd': float(f['vmd']),
                                  'dd': float(f['dd']), 'vd': float(f['vd']),
                                  'total': float(f['total']), 'rows': []})
        elif kind == 'row':
            a, c, v, d = rest.split()
            line['cards'][-1]['rows'].append(
                {'area': int(a), 'count': int(c), 'volume': f32(float(v)), 'diam': f32(float(d))})
    return line


# ---- statistics -------------------------------------------------------------------------------
def zero_row():
    return {'count': 0, 'volume': 0.0, 'diam': 0.0, 'vf': 0.0, 'cvf': 0.0, 'nf': 0.0, 'cnf': 0.0}


def composite_all(cards):
    scanned = [c for c in cards if c['scanned']]
    maxd = 0.0
    total = 0.0
    area = 0.0
    for c in scanned:
        last = c['rows'][-1]['diam'] if c['rows'] else 0.0
        maxd = max(maxd, last)
        total += c['total']
        area += c['area']
    nbins = round(maxd * 10)
    bins = [0] * (nbins + 1)
    drops = 0.0
    for c in scanned:
        for r in c['rows']:
            bins[round(r['diam'] * 10)] += r['count']
            drops += r['count']
    rows = []
    vmd = 0.0
    for i in range(1, nbins + 1):
        n = bins[i]
        if n <= 0:
            continue
        if not rows:
            rows.append(zero_row())
        before = rows[-1]
        radius = f32(i / 20)
        r = {'diam': f32(i / 10), 'count': n if n <= 32767 else 0}
        r['volume'] = f32((4 / 3 * math.pi) * radius ** 3 / 1000000)
        r['vf'] = f32(r['volume'] * n / total)
        r['cvf'] = f32(before['cvf'] + r['vf'])
        r['nf'] = f32(r['count'] / drops)
        r['cnf'] = f32(before['cnf'] + r['nf'])
        if r['cvf'] >= 0.5 and before['cvf'] < 0.5:
            vmd = before['diam'] + ((0.5 - before['cvf']) / (r['cvf'] - before['cvf'])) * (
                r['diam'] - before['diam'])
        rows.append(r)
    return {'rows': rows, 'total': total, 'area': area, 'drops': drops, 'maxd': maxd,
            'mind': rows[1]['diam'] if rows else 0.0, 'vmd': vmd,
            'dd': drops / area, 'vd': total / area}


def cut(rows, low, high):
    """rows[0] is the zero row; returns the selected rows with fresh fractions and the median."""
    n = len(rows) - 1
    lo = next((i for i in range(1, n + 1) if rows[i]['diam'] >= low), n + 1)
    hi = next((i for i in range(n, 1, -1) if rows[i]['diam'] <= high), 0)
    kept = [zero_row()] + [dict(r) for r in rows[lo:hi + 1]] if hi >= lo else [zero_row()]
    total = sum(r['count'] * r['volume'] for r in kept[1:])
    drops = float(sum(r['count'] for r in kept[1:]))
    vmd = 0.0
    if drops > 0:
        for k in range(1, len(kept)):
            r, b = kept[k], kept[k - 1]
            r['nf'] = f32(r['count'] / drops)
            r['cnf'] = f32(b['cnf'] + r['nf'])
            r['vf'] = f32(r['count'] * r['volume'] / total)
            r['cvf'] = f32(b['cvf'] + r['vf'])
            if r['cvf'] >= 0.5 and b['cvf'] < 0.5:
                if b['cvf'] == 0:
                    vmd = r['diam']
                else:
                    vmd = b['diam'] + (r['diam'] - b['diam']) * ((0.5 - b['cvf']) / (r['cvf'] - b['cvf']))
    return kept, total, drops, vmd


def stats(line):
    cards = line['cards']
    n = len(cards)
    low, high = line['RangeLow'], line['RangeHigh']
    comp = composite_all(cards)
    ranged = f32(comp['mind']) < low or high < comp['maxd']
    T = comp
    if ranged:
        rows, total, drops, vmd = cut(comp['rows'], low, high)
        T = dict(comp, rows=rows, total=total, drops=drops, vmd=vmd,
                 dd=drops / comp['area'], vd=total / comp['area'])
    linestats = []
    for c in cards:
        if not c['scanned']:
            linestats.append((0.0, 0.0, 0.0))
        elif ranged:
            rows = [zero_row()] + [dict(zero_row(), **r) for r in c['rows']]
            _, total, drops, vmd = cut(rows, low, high)
            linestats.append((vmd, drops / c['area'], total / 1000000 / c['area']))
        else:
            linestats.append((c['vmd'], c['dd'], c['vd']))
    sp = line['spray']
    p1, iv = f32(float(sp['Sample_Position1'])), f32(float(sp['Sample_Interval']))
    positions = [f32(p1 + f32(iv * i)) for i in range(n)]
    first = math.trunc(f32(p1 / iv))
    sets = {}
    for s, pick in ((1, 2), (2, 1)):
        dep = [f32(ls[pick]) for ls in linestats]
        st = {}
        for w in range(1, n):
            bins = [0.0] * w
            for k in range(n):
                bins[k % w] = f32(bins[k % w] + dep[k])
            low_, high_, tot = f32(1000000), 0.0, 0.0
            for b in bins:
                high_ = b if b > high_ else high_
                low_ = b if b < low_ else low_
                tot = f32(tot + b)
            mean = f32(tot / w)
            sd = 0.0
            if w > 1:
                s1 = q1 = 0.0
                for b in bins:
                    s1 = f32(s1 + b)
                    q1 = f32(q1 + b * b)
                sd = f32(math.sqrt(abs(w * q1 - s1 * s1) / (w * (w - 1))))
            cov = f32(sd / mean) if mean > 0 else 0.0
            st[w] = (cov, mean, high_, low_)
        width = n - 1
        for w in range(n - 2, 0, -1):
            if st[w + 1][0] > f32(0.3) and st[w][0] <= f32(0.3):
                width = w
                break
        passes = max(5, round((n - 1) / width + 0.49999))
        e = max(0, n + first - width)
        prof = {i: 0.0 for i in range(first, width * passes + e + 1)}
        for p in range(passes):
            for k in range(n):
                j = first + k
                prof[j + width * p] = f32(prof[j + width * p] + dep[k])
        sets[s] = {'stats': st, 'width': width, 'passes': passes, 'profile': prof}
    return {'T': T, 'ranged': ranged, 'linestats': linestats, 'positions': positions,
            'first': first, 'sets': sets, 'p1': p1, 'iv': iv}


# ---- the file ---------------------------------------------------------------------------------
def results_file(line, csv):
    S = stats(line)
    sp = line['spray']
    metric = line['Metric'] == 1
    L, SPD, RATE = ('m', 'km/h', 'L/ha') if metric else ('ft', 'mph', 'oz/ac')
    DF = f32(0.1) if metric else f32(1.368)
    n = len(line['cards'])
    w = Columns()

    def labelled(label, value):
        if csv:
            w.line(label + ',,' + value)
        else:
            w.text(label)
            w.tab(25)
            w.line(value)

    def form(v, d, single=True):
        return fixed(v, d, 7 if single else 15)

    w.line('Velmara -- Orvinek Droplet Analysis Program')
    w.line('Swath Deposit Analysis')
    w.line('-' * 50)
    w.line()
    w.line('Spray Information:')
    w.line('-' * 18)
    g = lambda k: sp.get(k, '')
    sf = line['Spread']
    term = lambda c: (' + ' + general(c)) if c > 0 else (' - ' + general(abs(c)))
    for label, value in [
            ('Aircraft Type:', g('AC_Type')), ('Aircraft Registration:', g('AC_Registration')),
            ('Aircraft Owner:', g('AC_Owner')), ('Aircraft Swath:', g('AC_Swath') + ' ' + L),
            ('Aircraft Speed:', g('AC_Speed') + ' ' + SPD), ('Aircraft Height:', g('AC_Height') + ' ' + L),
            ('Product Sprayed:', g('Spray_Product')), ('Active Rate:', g('Spray_ActiveRate') + ' ' + RATE),
            ('Spray Rate:', g('Spray_SprayRate') + ' ' + RATE),
            ('Nozzles:', g('Nozzle_Number') + '\u00d7 ' + g('Nozzle_Type')),
            ('Analysis Device:', g('Sampler_Type')),
            ('Spread Factor:', general(sf[0]) + term(sf[1]) + 'd' + term(sf[2]) + 'd\u00b2'),
            ('Sampler1 Position:', g('Sample_Position1') + ' ' + L),
            ('Sampler Separation:', g('Sample_Interval') + ' ' + L), ('Comment:', g('Comment'))]:
        labelled(label, value)
    w.line('-' * 50)
    w.line()
    w.line('Results:')
    w.line('-' * 8)
    T = S['T']
    whole = '0.00 -- ' + form(T['rows'][-1]['diam'], 2) + ' \u00b5m'
    labelled('Droplet Size Range:', whole)
    labelled('Selected Size Range:', form(line['RangeLow'], 2) + ' -- ' + form(line['RangeHigh'], 2)
             + ' \u00b5m' if S['ranged'] else whole)
    labelled('Drop Roundness:', str(line['ShapeThreshold']))
    labelled('% Valid Hues:', str(line['HueThreshold']))
    labelled('Composite VMD:', form(T['vmd'], 2, False) + ('\u00b5m' if csv else ' \u00b5m'))
    labelled('Ave. Drop Density:', form(T['dd'], 2, False) + ' drops/cm\u00b2')
    labelled('Ave. Volume Density:', form(T['vd'], 2, False) + ' nL/cm\u00b2 = '
             + form(DF * T['vd'], 3, False) + ' ' + RATE)
    w.line()
    w.line()

    both0 = sp['Sample_Position1'].endswith('0') and sp['Sample_Interval'].endswith('0')
    posd = 0 if both0 else 1
    swd = 0 if sp['Sample_Interval'].endswith('0') else 1
    if csv:
        w.line('Card,Position,VMD,Drop Density,Deposit Volume,Filename')
        w.line(',(' + L + '),(\u00b5m),(#/cm\u00b2),(' + RATE + ')')
    else:
        for c, s in ((1, 'Card'), (8, 'Position'), (19, 'VMD'), (27, 'Drop Density'),
                     (42, 'Deposit Volume'), (59, 'Filename')):
            w.at(c, s)
        w.end()
        w.at(10, '(' + L + ')')
        w.at(19, '(\u00b5m)')
        w.at(30, '(#/cm\u00b2)')
        w.ending(51, '(' + RATE + ')')
        w.end()
    for k, c in enumerate(line['cards']):
        if not c['scanned']:
            continue
        vmd, dd, vd = S['linestats'][k]
        pos = form(S['positions'][k], posd)
        if csv:
            w.line(','.join([str(k + 1), pos, form(vmd, 1, False), form(dd, 2, False),
                             form(DF * vd, 2, False), c['name']]))
        else:
            w.ending(3, str(k + 1))
            w.ending(14, pos)
            w.ending(23, form(vmd, 2, False))
            w.ending(35, form(dd, 2, False))
            w.ending(50, form(DF * vd, 3, False))
            w.at(59, c['name'])
            w.end()
    w.line()
    w.line()

    if csv:
        w.line('Diameter,Count,Volume,Cumulative,Drop Density,Number,Cumulative')
        w.line('(\u00b5m),,Fraction%,V.F. (%),(#/cm\u00b2),Fraction%,N.F. (%)')
    else:
        for c, s in ((2, 'Diameter'), (14, 'Count'), (26, 'Volume'), (39, 'Cumulative'),
                     (53, 'Drop Density'), (70, 'Number'), (82, 'Cumulative')):
            w.at(c, s)
        w.end()
        for c, s in ((4, '(\u00b5m)'), (25, 'Fraction%'), (40, 'V.F. (%)'), (55, '(#/cm\u00b2)'),
                     (69, 'Fraction%'), (83, 'N.F. (%)')):
            w.at(c, s)
        w.end()
    for r in T['rows'][1:]:
        cells = [f32(r['vf'] * 100), f32(r['cvf'] * 100), r['count'] / T['area'],
                 f32(r['nf'] * 100), f32(r['cnf'] * 100)]
        if csv:
            w.line(','.join([form(r['diam'], 2), str(r['count']), form(cells[0], 2), form(cells[1], 2),
                             form(cells[2], 3, False), form(cells[3], 2), form(cells[4], 2)]))
        else:
            w.at(9 - len(form(r['diam'], 2)), form(r['diam'], 3))
            w.number_ending(17, r['count'])
            w.ending(30, form(cells[0], 2))
            w.ending(45, form(cells[1], 2))
            w.ending(60, form(cells[2], 3, False))
            w.ending(75, form(cells[3], 2))
            w.ending(89, form(cells[4], 2))
            w.end()
    w.line()
    w.line()

    w.line('Swath Analysis:')
    w.line('-' * 15)
    if csv:
        w.line('Swath,,-------,Deposit,(' + RATE + '),-------,,-------,Drop Density,(#/cm\u00b2),-------')
        w.line('Width (' + L + '),,COV,Mean,Max,Min,,COV,Mean,Max,Min')
    else:
        w.at(1, '  Swath')
        w.at(13, '------ Deposit (' + RATE + ') ------')
        w.at(47, '--- Drop Density (#/cm\u00b2) ---')
        w.end()
        w.at(1, 'Width (' + L + ')')
        for c, s in ((14, 'COV'), (21, 'Mean'), (30, 'Max'), (38, 'Min'), (48, 'COV'), (55, 'Mean'),
                     (64, 'Max'), (72, 'Min')):
            w.at(c, s)
        w.end()
    swath = sp.get('AC_Swath', '')
    iv = S['iv']
    for i in range(1, n):
        R = 1.0
        if swath and f32(float(swath)) > 0:
            R = f32(iv * i / f32(float(swath)))
        a = S['sets'][1]['stats'][i]
        b = S['sets'][2]['stats'][i]
        mark = '        *****' if csv else '***'
        fields = [form(f32(iv * i), swd),
                  mark if S['sets'][1]['width'] == i else '',
                  form(a[0], 2), form(f32(f32(DF * a[1]) * R), 2), form(f32(f32(DF * a[2]) * R), 2),
                  form(f32(f32(DF * a[3]) * R), 2),
                  mark if S['sets'][2]['width'] == i else '',
                  form(b[0], 2), form(f32(b[1] * R), 2), form(f32(b[2] * R), 2), form(f32(b[3] * R), 2)]
        if csv:
            w.line(','.join(fields))
        else:
            for end, f in zip((6, 12, 16, 24, 32, 40, 46, 50, 58, 66, 74), fields):
                w.ending(end, f)
            w.end()
    w.line()

    blocks = [form(f32(f32(iv * S['sets'][s]['width']) * S['sets'][s]['passes']), posd) for s in (1, 2)]
    if csv:
        w.line('Multiswath Profiles')
        w.line('Block Size:,0-' + blocks[0] + L + ',0-' + blocks[1] + L)
        w.line()
        w.line('Position,Deposit,Drop Density')
        w.line('(' + L + '),(' + RATE + '),(#/cm\u00b2)')
    else:
        w.line('Multiswath Profiles:')
        w.line('-' * 20)
        w.at(1, 'Block Size:')
        w.at(13, '0-' + blocks[0] + L)
        w.at(24, '0-' + blocks[1] + L)
        w.end()
        w.line()
        w.at(1, 'Position')
        w.at(12, 'Deposit')
        w.at(22, 'Drop Density')
        w.end()
        w.at(1, '  (' + L + ')')
        w.at(13, '(' + RATE + ')')
        w.at(24, '(#/cm\u00b2)')
        w.end()
    q = f32(S['p1'] / iv)
    offset = q - math.trunc(q)
    p1, p2 = S['sets'][1]['profile'], S['sets'][2]['profile']
    for index in range(min(p1), max(max(p1), max(p2)) + 1):
        pos = form(f32(f32(offset + index) * iv), posd)
        a = form(f32(DF * p1.get(index, 0.0)), 3)
        b = form(p2.get(index, 0.0), 3)
        if csv:
            w.line(pos + ',' + a + ',' + b)
        else:
            w.ending(7, pos)
            w.ending(18, a)
            w.ending(30, b)
            w.end()
    if csv:
        w.line()
    return w.data()


if __name__ == '__main__':
    for path in sys.argv[1:]:
        line = read_cards(path)
        stem = path[:-len('.cards')]
        open(stem + '.expected.txt', 'wb').write(results_file(line, False))
        open(stem + '.expected.csv', 'wb').write(results_file(line, True))
