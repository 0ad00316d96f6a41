# GDB pretty-printers for libzyncmncoll: DString and its buffers as text,
# length and reference count; DDate as weekday and calendar date; DTime as
# hh:mm:ss; DException with class, error id, severity, group, texts and
# locations. Only memory is read, so the printers work on core files too.
#
# Installed next to the library for auto-loading, or loaded by hand:
#   (gdb) source <prefix>/share/zyncmncoll/gdb/zyncmncoll_printers.py
import gdb
import gdb.printing

_SHOWN = 200          # bytes of text shown at most


def _read_text(address, length):
    """The text as a quoted C-style literal; bytes above 0x7F as \\xNN."""
    data = bytes(gdb.selected_inferior().read_memory(address,
                                                     min(length, _SHOWN)))
    out = []
    for b in data:
        c = chr(b)
        if c in '"\\':
            out.append('\\' + c)
        elif 0x20 <= b < 0x7F:
            out.append(c)
        elif c == '\n':
            out.append('\\n')
        elif c == '\t':
            out.append('\\t')
        else:
            out.append('\\x%02x' % b)
    return '"%s"%s' % (''.join(out), '...' if length > _SHOWN else '')


def _buffer_summary(buf):
    """Text, byte length, reference count and class of a DBuffer value.

    A buffer is its header (vtable pointer, refCount, byteLength) followed
    inline by the text, so the text starts sizeof(DBuffer) bytes in."""
    refs = int(buf['refCount'])
    length = int(buf['byteLength'])
    kind = 'DBuffer'
    try:
        kind = str(buf.dynamic_type)
    except gdb.error:
        pass
    text = _read_text(int(buf.address) + buf.type.strip_typedefs().sizeof,
                      length)
    return text, length, refs, kind


class DStringPrinter:
    """DString: a handle whose pBuffer points at the text of its buffer."""

    def __init__(self, val):
        self.val = val

    def to_string(self):
        text_address = int(self.val['pBuffer'])
        if text_address == 0:
            return 'DString (released)'
        buffer_type = gdb.lookup_type('DBuffer')
        buf = gdb.Value(text_address - buffer_type.sizeof).cast(
            buffer_type.pointer()).dereference()
        text, length, refs, kind = _buffer_summary(buf)
        return '%s (len=%d, refs=%d, %s)' % (text, length, refs, kind)


class DBufferPrinter:
    def __init__(self, val):
        self.val = val

    def to_string(self):
        buf = self.val.cast(gdb.lookup_type('DBuffer'))
        text, length, refs, kind = _buffer_summary(buf)
        return '%s %s (len=%d, refs=%d)' % (kind, text, length, refs)


_MONTHS = ('January', 'February', 'March', 'April', 'May', 'June', 'July',
           'August', 'September', 'October', 'November', 'December')
_DAYS = ('Monday', 'Tuesday', 'Wednesday', 'Thursday', 'Friday', 'Saturday',
         'Sunday')
_FIRST_GREGORIAN_DAY = 2361222   # 14 September 1752


def _date_fields(jd):
    """Year (negative BC, no year 0), month and day of Julian day number jd.

    Julian calendar up to 2 September 1752, Gregorian from the next day
    (14 September 1752) on, as DDate counts; floor division keeps day
    numbers before 1 January 4713 BC valid."""
    if jd >= _FIRST_GREGORIAN_DAY:
        a = jd + 32044
        b = (4 * a + 3) // 146097
        c = a - 146097 * b // 4
    else:
        b = 0
        c = jd + 32082
    d = (4 * c + 3) // 1461
    e = c - 1461 * d // 4
    m = (5 * e + 2) // 153
    day = e - (153 * m + 2) // 5 + 1
    month = m + 3 - 12 * (m // 10)
    year = 100 * b + d - 4800 + m // 10   # astronomical: 0 is 1 BC
    return (year if year > 0 else year - 1), month, day


class DDatePrinter:
    def __init__(self, val):
        self.val = val

    def to_string(self):
        jd = int(self.val['dayNumber'])
        year, month, day = _date_fields(jd)
        era = '' if year > 0 else ' BC'
        return '%s %d %s %d%s (day %d)' % (_DAYS[jd % 7], day,
                                          _MONTHS[month - 1], abs(year), era,
                                          jd)


class DTimePrinter:
    def __init__(self, val):
        self.val = val

    def to_string(self):
        s = int(self.val['secondsValue'])
        return '%02d:%02d:%02d' % (s // 3600, (s % 3600) // 60, s % 60)


def _c_string(value):
    return value.string() if int(value) != 0 else None


def _location_text(loc):
    return '%s:%d (%s)' % (_c_string(loc['fileText']), int(loc['lineValue']),
                           _c_string(loc['functionText']) or 'Unknown')


class DExceptionLocationPrinter:
    def __init__(self, val):
        self.val = val

    def to_string(self):
        return _location_text(self.val)


class DExceptionPrinter:
    """Texts in the order of DException::text(i): text[0] is the newest."""

    def __init__(self, val):
        self.val = val

    def to_string(self):
        try:
            kind = self.val.dynamic_type
        except gdb.error:
            kind = self.val.type
        if kind.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            kind = kind.target()
        return '%s (error id %d, %s, group %r)' % (
            kind, int(self.val['errorIdValue']),
            'recoverable' if int(self.val['severityValue']) else
            'unrecoverable', _c_string(self.val['groupText']))

    def children(self):
        node = self.val['textList']
        index = 0
        while int(node) != 0:
            text = _c_string(node['textCopy'])
            yield 'text[%d]' % index, None if text is None else '"%s"' % text
            node = node['nextNode']
            index += 1
        for i in range(min(int(self.val['locationTotal']), 5)):
            yield 'location[%d]' % i, _location_text(self.val['locations'][i])


_EXCEPTIONS = ('DException', 'DResourceExhausted', 'DOutOfMemory',
               'DOutOfSystemResource', 'DOutOfWindowResource',
               'DInvalidRequest', 'DInvalidParameter', 'DDeviceError',
               'DAccessError', 'DAssertionFailure')


def build_printer():
    pp = gdb.printing.RegexpCollectionPrettyPrinter('zyncmncoll')
    pp.add_printer('DString', '^DString$', DStringPrinter)
    pp.add_printer('DBuffer', '^(DBuffer|DDBCSBuffer)$', DBufferPrinter)
    pp.add_printer('DDate', '^DDate$', DDatePrinter)
    pp.add_printer('DTime', '^DTime$', DTimePrinter)
    pp.add_printer('DExceptionLocation', '^DExceptionLocation$',
                   DExceptionLocationPrinter)
    pp.add_printer('DException', '^(%s)$' % '|'.join(_EXCEPTIONS),
                   DExceptionPrinter)
    return pp


def register_printers(objfile=None):
    """Registers the printers for objfile (None: for every objfile)."""
    gdb.printing.register_pretty_printer(objfile, build_printer(),
                                         replace=True)


# Sourced by hand (`source .../zyncmncoll_printers.py`): register globally.
# Imported by the auto-load file, which registers for the library's objfile.
if __name__ == '__main__':
    register_printers(gdb.current_objfile())
