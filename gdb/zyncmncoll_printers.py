# GDB pretty-printers for libzyncmncoll: DString and its buffers as text,
# length and reference count; DDate as weekday and calendar date; DTime as
# hh:mm:ss; DException with class, error id, severity, group, texts and
# locations. Only memory is read, so the printers work on core files too.
#
# The printers use the library's types when its debug information is loaded
# and otherwise read the objects by their layout, which the binary interface
# fixes (x86-64): a release build or a distribution's stripped library has
# no DBuffer or DException type, and the program's own debug information
# knows those classes only by name. The dynamic class of a buffer or an
# exception then comes from the symbol of its virtual table, which the
# library exports.
#
# Installed next to the library for auto-loading, or loaded by hand:
#   (gdb) source <prefix>/share/zyncmncoll/gdb/zyncmncoll_printers.py
import re

import gdb
import gdb.printing

_SHOWN = 200          # bytes of text shown at most

# Offsets fixed by the binary interface.
_BUFFER_REFS = 8      # DBuffer: vtable pointer, unsigned refCount,
_BUFFER_LENGTH = 12   # unsigned byteLength, then the text inline
_BUFFER_TEXT = 16
_EXC_SEVERITY = 8     # DException: vtable pointer, int severity,
_EXC_ERROR_ID = 16    # unsigned long error id, five locations of 24 bytes
_EXC_LOCATIONS = 24   # (file, function, unsigned long line), location
_LOCATION_SIZE = 24   # count, text count, text list, group
_EXC_LOCATION_TOTAL = 144
_EXC_TEXT_LIST = 160
_EXC_GROUP = 168

# Set to True to read every object by its layout even when the library's
# types are known (the test suite checks both ways in one build).
force_layout = False


def _complete_type(name):
    """The library's type `name`, or None when only its name is known."""
    if force_layout:
        return None
    try:
        t = gdb.lookup_type(name).strip_typedefs()
    except gdb.error:
        return None
    return t if t.fields() else None


def _has_fields(val):
    if force_layout:
        return False
    t = val.type.strip_typedefs()
    if t.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
        t = t.target().strip_typedefs()
    return bool(t.fields())


def _read(address, type_name):
    """The value of basic type `type_name` stored at `address`."""
    return gdb.Value(address).cast(
        gdb.lookup_type(type_name).pointer()).dereference()


def _read_pointer(address):
    return int(_read(address, 'unsigned long'))


def _address(val):
    if val.type.strip_typedefs().code in (gdb.TYPE_CODE_REF,
                                          gdb.TYPE_CODE_RVALUE_REF):
        val = val.referenced_value()
    return int(val.address)


def _class_of(address):
    """Class name of the polymorphic object at `address`, from the symbol
    of its virtual table ("vtable for DDBCSBuffer"); None if unknown."""
    try:
        where = gdb.execute('info symbol 0x%x' % _read_pointer(address),
                            to_string=True)
    except gdb.error:
        return None
    match = re.match(r'vtable for (\S+) \+ \d+ in ', where)
    return match.group(1) if match else None


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


def _buffer_summary(address):
    """Text, byte length, reference count and class of the buffer at
    `address`: its header followed inline by the text."""
    buffer_type = _complete_type('DBuffer')
    if buffer_type is not None:
        buf = gdb.Value(address).cast(buffer_type.pointer()).dereference()
        refs = int(buf['refCount'])
        length = int(buf['byteLength'])
        text_address = address + buffer_type.sizeof
        try:
            kind = str(buf.dynamic_type)
        except gdb.error:
            kind = None
    else:
        refs = int(_read(address + _BUFFER_REFS, 'unsigned int'))
        length = int(_read(address + _BUFFER_LENGTH, 'unsigned int'))
        text_address = address + _BUFFER_TEXT
        kind = _class_of(address)
    return _read_text(text_address, length), length, refs, kind or 'DBuffer'


class DStringPrinter:
    """DString: a handle whose pBuffer points at the text of its buffer."""

    def __init__(self, val):
        self.val = val

    def to_string(self):
        if _has_fields(self.val):
            text_address = int(self.val['pBuffer'])
        else:
            text_address = _read_pointer(_address(self.val))
        if text_address == 0:
            return 'DString (released)'
        buffer_type = _complete_type('DBuffer')
        header = buffer_type.sizeof if buffer_type else _BUFFER_TEXT
        text, length, refs, kind = _buffer_summary(text_address - header)
        return '%s (len=%d, refs=%d, %s)' % (text, length, refs, kind)


class DBufferPrinter:
    def __init__(self, val):
        self.val = val

    def to_string(self):
        text, length, refs, kind = _buffer_summary(_address(self.val))
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


def _member(val, name, offset, type_name):
    """Field `name` of `val`, or the `type_name` at `offset` in its memory."""
    if _has_fields(val):
        return val[name]
    return _read(_address(val) + offset, type_name)


class DDatePrinter:
    def __init__(self, val):
        self.val = val

    def to_string(self):
        jd = int(_member(self.val, 'dayNumber', 0, 'long'))
        year, month, day = _date_fields(jd)
        era = '' if year > 0 else ' BC'
        return '%s %d %s %d%s (day %d)' % (_DAYS[jd % 7], day,
                                          _MONTHS[month - 1], abs(year), era,
                                          jd)


class DTimePrinter:
    def __init__(self, val):
        self.val = val

    def to_string(self):
        s = int(_member(self.val, 'secondsValue', 0, 'long'))
        return '%02d:%02d:%02d' % (s // 3600, (s % 3600) // 60, s % 60)


def _c_string(address):
    """The NUL-terminated text at `address` (an int or a pointer value)."""
    address = int(address)
    if address == 0:
        return None
    return _read(address, 'char').address.string()


def _location_text(loc):
    """Text of a DExceptionLocation value, or of the record at an address:
    file pointer, function pointer, unsigned long line."""
    if isinstance(loc, gdb.Value) and _has_fields(loc):
        fields = loc['fileText'], loc['functionText'], loc['lineValue']
    else:
        address = loc if isinstance(loc, int) else _address(loc)
        fields = (_read_pointer(address), _read_pointer(address + 8),
                  _read_pointer(address + 16))
    return '%s:%d (%s)' % (_c_string(fields[0]), int(fields[2]),
                           _c_string(fields[1]) or 'Unknown')


class DExceptionLocationPrinter:
    def __init__(self, val):
        self.val = val

    def to_string(self):
        return _location_text(self.val)


class DExceptionPrinter:
    """Texts in the order of DException::text(i): text[0] is the newest."""

    def __init__(self, val):
        self.val = val
        self.typed = _has_fields(val)

    def _word(self, name, offset):
        if self.typed:
            return int(self.val[name])
        return _read_pointer(_address(self.val) + offset)

    def to_string(self):
        kind = None
        if self.typed:
            try:
                kind = self.val.dynamic_type
            except gdb.error:
                pass
        else:
            kind = _class_of(_address(self.val))
        if kind is None:
            kind = self.val.type
        if isinstance(kind, gdb.Type):
            kind = kind.strip_typedefs()
            if kind.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
                kind = kind.target()
        if self.typed:
            severity = int(self.val['severityValue'])
        else:
            severity = int(_read(_address(self.val) + _EXC_SEVERITY, 'int'))
        return '%s (error id %d, %s, group %r)' % (
            kind, self._word('errorIdValue', _EXC_ERROR_ID),
            'recoverable' if severity else 'unrecoverable',
            _c_string(self._word('groupText', _EXC_GROUP)))

    def children(self):
        # A DExcText node: the text copy, then the next node.
        node = self._word('textList', _EXC_TEXT_LIST)
        index = 0
        while node != 0:
            text = _c_string(_read_pointer(node))
            yield 'text[%d]' % index, None if text is None else '"%s"' % text
            node = _read_pointer(node + 8)
            index += 1
        total = min(self._word('locationTotal', _EXC_LOCATION_TOTAL), 5)
        for i in range(total):
            if self.typed:
                loc = self.val['locations'][i]
            else:
                loc = (_address(self.val) + _EXC_LOCATIONS +
                       i * _LOCATION_SIZE)
            yield 'location[%d]' % i, _location_text(loc)


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
