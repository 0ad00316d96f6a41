# Runs inside `gdb -batch -x check_printers.py gdb_subject`: loads the
# printers from the file named by $ZYN_GDB_PRINTERS, stops the subject in
# stopHere() and compares what `print` shows with the expected text.
# Ends with "N passed, N failed"; gdb exits 1 when anything failed.
import os
import re
import gdb

gdb.execute('set pagination off')
gdb.execute('set print pretty off')
gdb.execute('source ' + os.environ['ZYN_GDB_PRINTERS'])
# ZYN_GDB_LAYOUT=1: read the objects by their layout (no debug information).
if os.environ.get('ZYN_GDB_LAYOUT') == '1':
    import __main__
    __main__.force_layout = True
gdb.execute('break stopHere')
gdb.execute('run')
gdb.execute('up')

passed = 0
failed = 0
# The buffer class the subject's strings should have in this run.
kind = os.environ.get('ZYN_GDB_BUFFER_CLASS', 'DBuffer')
if kind != 'DBuffer' and int(gdb.parse_and_eval('mbCurMax')) < 2:
    print('gdb printers: skipped, no multibyte locale')
    gdb.execute('kill')
    gdb.execute('quit 0')


def check(expression, pattern):
    global passed, failed
    shown = gdb.execute('print ' + expression, to_string=True)
    shown = shown.split('=', 1)[1].strip()
    if re.fullmatch(pattern, shown, re.S):
        passed += 1
    else:
        failed += 1
        print('FAIL: print %s\n  shown: %s\n  wanted: %s' %
              (expression, shown, pattern))


check('shared',
      r'"shared \\"text\\"\\n\\xe9" \(len=15, refs=2, %s\)' % kind)
check('sharedCopy',
      r'"shared \\"text\\"\\n\\xe9" \(len=15, refs=2, %s\)' % kind)
check('unshared', r'"alone" \(len=5, refs=1, %s\)' % kind)
check('empty', r'"" \(len=0, refs=\d+, %s\)' % kind)
check('*buffer', r'%s "alone" \(len=5, refs=1\)' % kind)
check('reform', r'Thursday 14 September 1752 \(day 2361222\)')
check('dayZero', r'Monday 1 January 4713 BC \(day 0\)')
check('time', r'13:05:09')
check('caught',
      r'DInvalidRequest \(error id 1010, recoverable, group '
      r"'Zorvane Class Library'\) = \{"
      r'text\[0\] = "while testing the printers", '
      r'text\[1\] = "The requested string length is too large[^"]*", '
      r'location\[0\] = dbuffer0:561 \(Unknown\), '
      r'location\[1\] = gdb_subject:57 \(main\)\}')
check('base', r'DInvalidRequest \(error id 1010, recoverable, .*')
check('*second', r'gdb_subject:57 \(main\)')

# Every row of the table against the library's own calendar fields.
months = ('January February March April May June July August September '
          'October November December').split()
days = 'Monday Tuesday Wednesday Thursday Friday Saturday Sunday'.split()
for i in range(int(gdb.parse_and_eval('dateCount'))):
    row = gdb.parse_and_eval('dateTable[%d]' % i)
    year = int(row['year'])
    check('dateTable[%d].date' % i, r'%s %d %s %d%s \(day -?\d+\)' % (
        days[int(row['weekday'])], int(row['day']),
        months[int(row['month']) - 1], abs(year), '' if year > 0 else ' BC'))

print('gdb printers: %d passed, %d failed' % (passed, failed))
gdb.execute('kill')
gdb.execute('quit %d' % (1 if failed else 0))
