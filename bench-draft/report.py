#!/usr/bin/env python3
"""Turns a Google Benchmark JSON run of zyn_bench into the table of ratios.

Benchmarks are named "<work>/<size>/ours" and "<work>/<size>/peer"; the
ratio is ours / peer of the real time per iteration, measured in one run.
"""
import json
import sys

# Target ratio (ours / peer) per work; the README's table says why.
TARGETS = {
    'copy 1 KiB': 0.25,
    'copy shared, 1 thread': 1.5,
    'copy shared, 2 threads': 2.0,
    'make from text': 1.5,
    'find 1 byte': 1.1,
    'find 8 bytes': 1.0,
    'find last 8 bytes': 1.0,
    'first of 4-byte set': 1.0,
    'isLike a*..*b': 2.0,
    'replace ab by xyz': 1.0,
    'upper-case unshared': 1.2,
    'compare equal': 1.05,
    'numWords': 1.2,
    'space(1)': 1.2,
    'c2x': 1.2,
    'x2c': 1.2,
    'd2c': {40: 1.5, 1000: 5.0, 10000: 10.0},
    'c2d': {40: 1.5, 1000: 5.0, 10000: 10.0},
    'UTF-8 indexOf 3 chars': 3.0,
    'UTF-8 strip': 3.0,
    'UTF-8 center': 3.0,
    'UTF-8 insert': 3.0,
}


def target_for(work, size):
    target = TARGETS.get(work)
    if isinstance(target, dict):
        return target.get(size)
    return target


def human(ns):
    for unit, scale in (('s', 1e9), ('ms', 1e6), ('us', 1e3)):
        if ns >= scale:
            return '%.3g %s' % (ns / scale, unit)
    return '%.3g ns' % ns


def main(path):
    with open(path) as f:
        run = json.load(f)
    times = {}
    for b in run['benchmarks']:
        if b.get('run_type') == 'aggregate':
            continue
        name = b['name'].split('/real_time')[0].split('/threads:')[0]
        parts = name.split('/')
        if len(parts) < 3 or parts[-1] not in ('ours', 'peer'):
            continue
        scale = {'ns': 1, 'us': 1e3, 'ms': 1e6, 's': 1e9}[b['time_unit']]
        key = ('/'.join(parts[:-2]), int(parts[-2]) if parts[-2].isdigit() else parts[-2])
        times.setdefault(key, {})[parts[-1]] = b['real_time'] * scale
    rows = []
    missed = 0
    for (work, size), pair in sorted(times.items(), key=lambda kv: (kv[0][0], str(kv[0][1]).zfill(12))):
        if 'ours' not in pair or 'peer' not in pair:
            continue
        ratio = pair['ours'] / pair['peer']
        target = target_for(work, size)
        verdict = '' if target is None else ('ok' if ratio <= target else 'MISSED')
        missed += verdict == 'MISSED'
        rows.append((work, str(size), human(pair['ours']), human(pair['peer']),
                     '%.2f' % ratio, '' if target is None else '<= %g' % target, verdict))
    header = ('operation', 'size', 'ours', 'peer', 'ratio', 'target', '')
    widths = [max(len(r[i]) for r in rows + [header]) for i in range(len(header))]
    line = lambda r: '  '.join(c.ljust(w) for c, w in zip(r, widths)).rstrip()
    print(line(header))
    print(line(['-' * w for w in widths]))
    for r in rows:
        print(line(r))
    print('\n%d pairs, %d targets missed' % (len(rows), missed))


if __name__ == '__main__':
    main(sys.argv[1] if len(sys.argv) > 1 else 'bench.json')
