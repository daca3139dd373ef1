"""Single rounding, the fixed number forms ("0", "0.0", "0.00", ...) and the column text writer,
shared by the Python models of the scan log and of the results file."""

import struct
from decimal import Context, Decimal, ROUND_HALF_UP


def f32(x):
    """Round a Double to the nearest Single."""
    return struct.unpack('<f', struct.pack('<f', x))[0]


def fixed(value, decimals, digits=15):
    """The value is first taken as a decimal of `digits` significant digits (15 for a Double, 7 for
    a Single), then rounded to `decimals` places with ties away from zero; no minus sign on 0."""
    text = Decimal('%.*e' % (digits - 1, value))
    out = text.quantize(Decimal(1).scaleb(-decimals), rounding=ROUND_HALF_UP,
                        context=Context(prec=400))
    if out == 0:
        out = abs(out)
    return format(out, 'f')


class Columns:
    """Text written at a current column from 1; a tab to a column already passed starts a new
    line. Lines end in CR LF and the bytes are Windows-1252."""

    def __init__(self):
        self.out = []
        self.col = 1

    def text(self, s):
        self.out.append(s)
        self.col += len(s)

    def tab(self, n):
        n = max(n, 1)
        if self.col > n:
            self.end()
        self.text(' ' * (n - self.col))

    def at(self, n, s):
        self.tab(n)
        self.text(s)

    def ending(self, c, s):
        """s with its last character in column c."""
        self.at(c + 1 - len(s), s)

    def number(self, v):
        """A whole number with its sign place (blank or '-') and a trailing blank."""
        self.text((' ' if v >= 0 else '-') + str(abs(v)) + ' ')

    def number_ending(self, c, v):
        self.tab(c - len(str(abs(v))))
        self.number(v)

    def end(self):
        self.out.append('\r\n')
        self.col = 1

    def line(self, s=''):
        self.text(s)
        self.end()

    def data(self):
        return ''.join(self.out).encode('cp1252')
