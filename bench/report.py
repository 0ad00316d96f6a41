#!/usr/bin/env python3
"""Turns Google Benchmark JSON runs of zyn_bench (and zyn_bench_mb) into the
table of ratios.

Benchmarks are named "<work>/<size>/ours" and "<work>/<size>/peer"; where
several peers compete they are named "peer-<variant>" and the fastest one
counts. The time of a benchmark is its CPU time per iteration (the machines
this runs on are shared, so wall-clock time also counts waiting for the
processor); with repetitions the smallest one counts, or with --median the
median. Two-thread benchmarks report the CPU time of both threads per copy.
The ratio is ours / peer.

    report.py [--markdown] [--median] run.json [more.json ...]
"""
import json
import sys

# Target ratio (ours / peer) per work; a dict gives one per size. Every
# 64-byte row has at most 1.2.
SMALL = 1.2
TARGETS = {
    'copy + destroy': 0.25,
    'copy shared, 1 thread': 1.5,
    'copy shared, 2 threads': 2.0,
    'copy + destroy, no thread started': 1.0,
    'copy own strings, 2 threads': None,
    'count lock cycle': 1.0,
    'make from text, no thread started': 1.5,
    'make from text': 1.5,
    'find 1 byte at the end': 1.1,
    'find 8 bytes': 1.0,
    'find last 8 bytes': 1.0,
    'first of a 4-byte set': 1.0,
    'isLike a*a*a*a*a*a*a*b': 2.0,
    'replace ab by xyz': 1.0,
    'upper-case, unshared': 1.2,
    'compare equal texts': 1.05,
    'numWords': 1.2,
    'word 50,000': 1.2,
    'space(1)': 1.2,
    'c2x': 1.2,
    'x2c': 1.2,
    'd2c': {'40 digits': 1.5, '1,000 digits': 5.0, '10,000 digits': 10.0},
    'c2d': {'40 digits': 1.5, '1,000 digits': 5.0, '10,000 digits': 10.0},
    'UTF-8 indexOf, 3 characters': 3.0,
    'UTF-8 strip': 3.0,
    'UTF-8 center': 3.0,
    'UTF-8 insert': 3.0,
    'UTF-8 numWords': 1.2,
    'UTF-8 make from text, no thread started': 1.5,
}

SCALE = {'ns': 1, 'us': 1e3, 'ms': 1e6, 's': 1e9}


def target_for(work, size):
    target = TARGETS.get(work)
    if isinstance(target, dict):
        target = target.get(size)
    if size == '64 B' and target is not None:
        return max(target, SMALL)
    return target


def human(ns):
    for unit, scale in (('s', 1e9), ('ms', 1e6), ('us', 1e3)):
        if ns >= scale:
            return '%.3g %s' % (ns / scale, unit)
    return '%.3g ns' % ns


def split_name(name):
    """(work, size, side) of a paired benchmark name, else None."""
    parts = [p for p in name.split('/')
             if p != 'real_time' and not p.startswith('threads:')]
    if len(parts) < 3:
        return None
    side = parts[-1]
    if side != 'ours' and side != 'peer' and not side.startswith('peer-'):
        return None
    return '/'.join(parts[:-2]), parts[-2], side


def median(values):
    values = sorted(values)
    middle = len(values) // 2
    if len(values) % 2:
        return values[middle]
    return (values[middle - 1] + values[middle]) / 2


def collect(paths, pick=min):
    times = {}   # (work, size) -> {side: ns}
    first = {}   # (work, size) -> (file, registration index)
    for number, path in enumerate(paths):
        with open(path) as f:
            run = json.load(f)
        for b in run.get('benchmarks', []):
            if b.get('run_type') == 'aggregate' or b.get('error_occurred'):
                continue
            key = split_name(b.get('run_name', b['name']))
            if key is None:
                continue
            work, size, side = key
            ns = b['cpu_time'] * SCALE[b['time_unit']]
            # Registration order, whatever order the run interleaved.
            index = (number, b.get('family_index', 0),
                     b.get('per_family_instance_index', 0))
            first[(work, size)] = min(index, first.get((work, size), index))
            sides = times.setdefault((work, size), {})
            sides.setdefault(side, []).append(ns)
    for sides in times.values():
        for side in sides:
            sides[side] = pick(sides[side])
    return times, sorted(times, key=first.get)


def table(paths, pick=min):
    times, order = collect(paths, pick)
    rows = []
    missed = []
    for work, size in order:
        sides = times[(work, size)]
        peers = {s: t for s, t in sides.items() if s.startswith('peer')}
        if 'ours' not in sides or not peers:
            continue
        peer_side = min(peers, key=peers.get)
        ours, peer = sides['ours'], peers[peer_side]
        ratio = ours / peer
        target = target_for(work, size)
        verdict = ''
        if target is not None:
            verdict = 'ok' if ratio <= target else 'MISSED'
            if verdict == 'MISSED':
                missed.append((work, size))
        shown = work if peer_side == 'peer' else '%s (%s)' % (work, peer_side[5:])
        rows.append((shown, size, human(ours), human(peer), '%.2f' % ratio,
                     '' if target is None else '<= %g' % target, verdict))
    return rows, missed


def main(argv):
    markdown = '--markdown' in argv
    pick = median if '--median' in argv else min
    paths = [a for a in argv if a not in ('--markdown', '--median')]
    rows, missed = table(paths or ['bench.json'], pick)
    header = ('operation', 'size', 'ours', 'peer', 'ratio', 'target', '')
    if markdown:
        print('| ' + ' | '.join(header[:-1]) + ' | result |')
        print('|' + '---|' * len(header))
        for r in rows:
            print('| ' + ' | '.join(r) + ' |')
    else:
        widths = [max(len(r[i]) for r in rows + [header])
                  for i in range(len(header))]
        def line(r):
            return '  '.join(c.ljust(w) for c, w in zip(r, widths)).rstrip()
        print(line(header))
        print(line(['-' * w for w in widths]))
        for r in rows:
            print(line(r))
    print('\n%d pairs, %d targets missed' % (len(rows), len(missed)))


if __name__ == '__main__':
    main(sys.argv[1:])
