"""What `readkit quality --json` must say of some reads, counted read by read in the plainest way."""

import math
from collections import Counter
from fractions import Fraction

LETTERS = ('A', 'C', 'G', 'T', 'other')


def rounded(value):
    """Two decimals; halves go up."""
    return math.floor(Fraction(value) * 100 + Fraction(1, 2)) / 100


def percentile(values, percent):
    """The nearest rank."""
    values = sorted(values)
    return values[max(math.ceil(Fraction(percent * len(values), 100)), 1) - 1]


def letter(base):
    return base if base in 'ACGT' else 'other'


def width_for(span, most):
    """The least of 1, 2, 5, 10, ... that cuts `span` into `most` pieces or fewer."""
    widths = (digit * 10 ** power for power in range(10) for digit in (1, 2, 5))
    return next(width for width in widths if math.ceil(span / width) <= most)


def groups(longest, alone):
    width = 1 if alone or longest <= 300 else width_for(longest, 150)
    return [range(begin, min(begin + width, longest)) for begin in range(0, longest, width)]


def position(reads, group, first):
    inside = slice(group.start, group.stop)
    qualities = [quality for _, of_read in reads for quality in of_read[inside]]
    letters = Counter(letter(base) for bases, _ in reads for base in bases[inside])
    return {
        'from': first + group.start, 'to': first + group.stop - 1,
        'reads': sum(len(bases) > group.start for bases, _ in reads),
        'mean': rounded(Fraction(sum(qualities), len(qualities))),
        **{f'p{p}': percentile(qualities, p) for p in (10, 25, 50, 75, 90)},
        'counts': {str(q): n for q, n in sorted(Counter(qualities).items())},
        'bases': {name: letters[name] for name in LETTERS},
    }


def length_histogram(lengths):
    width = width_for(max(lengths) - min(lengths) + 1, 100)
    return [{'from': begin, 'to': begin + width - 1,
             'reads': sum(begin <= length < begin + width for length in lengths)}
            for begin in range(min(lengths) // width * width, max(lengths) + 1, width)]


def gc_histogram(reads):
    bins = Counter()
    for bases, _ in reads:
        gc = sum(base in 'CG' for base in bases)
        bins[min(20 * gc // len(bases), 19)] += 1
    return [{'from': 5 * i, 'to': 5 * i + 5, 'reads': bins[i]} for i in range(20)]


def read_quality(reads):
    averages = Counter(sum(qualities) // len(qualities) for _, qualities in reads)
    return [{'quality': q, 'reads': averages[q]}
            for q in range(min(averages), max(averages) + 1)]


# ---- Verdicts ----------------------------------------------------------------------------------

def status(value, direction, warn, fail):
    def beyond(limit):
        return value < limit if direction == 'below' else value > limit
    return 'fail' if beyond(fail) else 'warn' if beyond(warn) else 'pass'


def gc_distance(sample):
    """How far the GC histogram is from the normal curve of its own mean and deviation."""
    shares = [b['reads'] / sample['reads'] for b in sample['gc']]
    middles = [2.5 + 5 * i for i in range(20)]
    mean = sum(s * m for s, m in zip(shares, middles))
    variance = sum(s * (m - mean) ** 2 for s, m in zip(shares, middles))
    deviation = math.sqrt(max(variance, 25 / 12))
    cut = [0] + [(1 + math.erf((5 * i - mean) / deviation / math.sqrt(2))) / 2
                 for i in range(1, 20)] + [1]
    return 100 * sum(abs(s - (cut[i + 1] - cut[i])) for i, s in enumerate(shares))


def verdict_values(sample):
    """{name: (value, direction, warn, fail)}"""
    if sample['reads'] == 0:
        return {'reads': (0, 'below', 1, 1)}
    judged = [p for p in sample['positions'] if p['reads'] >= sample['reads'] / 100]

    def share(p, names):
        return 100 * sum(p['bases'][n] for n in names) / sum(p['bases'].values())

    def imbalance(p):
        return max(abs(share(p, a) - share(p, b)) for a, b in ('AT', 'CG'))
    most = max(b['reads'] for b in sample['read_quality'])
    values = {
        'position_median': (min(p['p50'] for p in judged), 'below', 25, 20),
        'position_lower_quartile': (min(p['p25'] for p in judged), 'below', 10, 5),
        'read_quality': (min(b['quality'] for b in sample['read_quality'] if b['reads'] == most),
                         'below', 27, 20),
        'q30': (sample['q30_percent'], 'below', 75, 50),
        'base_balance': (max(map(imbalance, judged)), 'above', 10, 20),
        'other_letters': (max(share(p, ['other']) for p in judged), 'above', 5, 20),
    }
    if sample['reads'] >= 1000:
        values['gc_shape'] = (gc_distance(sample), 'above', 15, 30)
    return values


def verdicts(sample):
    """What must be in each verdict, but for the words."""
    return [{'name': name, 'status': status(rounded(value), direction, warn, fail),
             'value': rounded(value),
             'thresholds': {'direction': direction, 'warn': warn, 'fail': fail}}
            for name, (value, direction, warn, fail) in verdict_values(sample).items()]


# ---- A sample ----------------------------------------------------------------------------------

def taken(reads, offset=33, first=1, last=None, min_length=1, min_average=None, count=None):
    """The reads that are counted, as (bases, qualities), of (bases, quality characters)."""
    for bases, characters in reads[:count]:
        bases = bases[first - 1:last]
        qualities = [ord(c) - offset for c in characters[first - 1:last]]
        if len(bases) < min_length:
            continue
        if min_average is None or sum(qualities) >= min_average * len(qualities):
            yield bases, qualities


def sample(reads, offset=33, first=1, last=None, alone=False, **filters):
    """The document's element, without names, encoding and words."""
    reads = list(taken(reads, offset, first, last, **filters))
    lengths = sorted(len(bases) for bases, _ in reads)
    qualities = [q for _, of_read in reads for q in of_read]
    letters = Counter(letter(base) for bases, _ in reads for base in bases)
    known = sum(letters[base] for base in 'ACGT')

    def percent(part, whole):
        return rounded(Fraction(100 * part, whole)) if whole else 0
    longest = max(lengths, default=0)
    result = {
        'reads': len(reads),
        'bases': sum(lengths),
        'mean_quality': rounded(Fraction(sum(qualities), max(len(qualities), 1))),
        'q20_percent': percent(sum(q >= 20 for q in qualities), len(qualities)),
        'q30_percent': percent(sum(q >= 30 for q in qualities), len(qualities)),
        'gc_percent': percent(letters['C'] + letters['G'], known),
        'length': {
            'min': min(lengths, default=0), 'max': longest,
            'mean': rounded(Fraction(sum(lengths), max(len(lengths), 1))),
            'median': percentile(lengths, 50) if lengths else 0,
            'histogram': length_histogram(lengths) if lengths else [],
        },
        'positions': [position(reads, group, first) for group in groups(longest, alone)],
        'read_quality': read_quality(reads) if reads else [],
        'gc': gc_histogram(reads),
    }
    result['verdicts'] = verdicts(result)
    order = ('pass', 'warn', 'fail')
    result['status'] = max((v['status'] for v in result['verdicts']), key=order.index)
    return result
