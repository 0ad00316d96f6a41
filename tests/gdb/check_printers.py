# Run as `gdb -batch -x check_printers.py gdb_subject`: loads the printers
# of $ZYN_GDB_PRINTERS (ZYN_GDB_LAYOUT=1: reading objects by their layout),
# stops in stopHere() and compares what `print` shows with the patterns;
# the test passes on "gdb printers: N passed, 0 failed" alone.
import os
import re
import gdb

gdb.execute('source ' + os.environ['ZYN_GDB_PRINTERS'])
if os.environ.get('ZYN_GDB_LAYOUT') == '1':
    import __main__
    __main__.force_layout = True
gdb.execute('break stopHere')
gdb.execute('run')
gdb.execute('up')
kind = os.environ.get('ZYN_GDB_BUFFER_CLASS', 'DBuffer')
checks = [
    ('shared', r'"shared \\"text\\"\\n\\xe9" \(len=15, refs=2, %s\)' % kind),
    ('unshared', r'"alone" \(len=5, refs=1, %s\)' % kind),
    ('empty', r'"" \(len=0, refs=\d+, %s\)' % kind),
    ('*buffer', r'%s "alone" \(len=5, refs=1\)' % kind),
    ('time', r'13:05:09'),
    ('caught', r'DInvalidRequest \(error id 1010, recoverable, group '
     r"'Zorvane Class Library'\) = \{"
     r'text\[0\] = "while testing the printers", '
     r'text\[1\] = "The requested string length is too large[^"]*", '
     r'location\[0\] = dbuffer0:561 \(Unknown\), '
     r'location\[1\] = gdb_subject:57 \(main\)\}'),
    ('base', r'DInvalidRequest \(error id 1010, recoverable, .*'),
    ('*second', r'gdb_subject:57 \(main\)'),
]
dates = ['Sunday 31 December 4714 BC (day -1)',
         'Friday 31 December 1 BC (day 1721423)',
         'Saturday 1 January 1 (day 1721424)',
         'Wednesday 2 September 1752 (day 2361221)',
         'Thursday 14 September 1752 (day 2361222)',
         'Wednesday 28 February 1900 (day 2415079)',
         'Tuesday 29 February 2000 (day 2451604)']
checks += [('dates[%d]' % i, re.escape(d)) for i, d in enumerate(dates)]

failed = 0
for expression, pattern in checks:
    shown = gdb.execute('print ' + expression, to_string=True).split('=', 1)
    if not re.fullmatch(pattern, shown[1].strip(), re.S):
        failed += 1
        print('FAIL: print %s\n  shown: %s\n  wanted: %s' %
              (expression, shown[1].strip(), pattern))
print('gdb printers: %d passed, %d failed' % (len(checks) - failed, failed))
gdb.execute('quit %d' % (1 if failed else 0))
