// Each chart as a function that makes its Vega-Lite specification from the document's samples. Every
// colour is one of the page's variables, so that light, dark and print are the style sheet's matter.

const kHeight = 260;
// From here on marks of single positions have no room around them.
const kManyPositions = 80;
// Up to here points of lines are shown.
const kFewPoints = 45;
const kSampleColours = 7;
const kDashes = [[], [6, 3], [2, 2], [8, 3, 2, 3]];
const kBases = ['A', 'C', 'G', 'T', 'other'];
const kBaseDashes = [[], [6, 3], [2, 2], [8, 3, 2, 3], [1, 4]];

// The look that all charts share.
export const config = {
  background: null,
  font: 'system-ui, "Noto Sans", "DejaVu Sans", sans-serif',
  view: { stroke: null },
  axis: {
    labelColor: 'var(--soft)',
    titleColor: 'var(--soft)',
    domainColor: 'var(--line)',
    tickColor: 'var(--line)',
    gridColor: 'var(--line)',
    gridOpacity: 0.6,
    labelFontSize: 12,
    titleFontSize: 12,
    titleFontWeight: 'normal',
  },
  axisX: { grid: false },
  legend: {
    labelColor: 'var(--ink)',
    titleColor: 'var(--soft)',
    titleFontWeight: 'normal',
    labelFontSize: 12,
    titleFontSize: 12,
    labelLimit: 300,
    orient: 'top',
    symbolStrokeWidth: 2.5,
    symbolSize: 300,
    symbolType: 'stroke',
  },
};

const spec = (description, rest) => ({
  description,
  width: 'container',
  height: kHeight,
  autosize: { type: 'fit-x', contains: 'padding' },
  ...rest,
});

const quantity = (field, title, rest = {}) => ({ field, type: 'quantitative', title, ...rest });

const rangeText = ({ from, to }) => (from === to ? `${from}` : `${from}-${to}`);

// A group of positions takes the room of its positions, half of one before and behind.
const edges = (group) => ({ left: group.from - 0.5, right: group.to + 0.5, range: rangeText(group) });

const percent = (part, whole) => (whole === 0 ? 0 : (100 * part) / whole);
const total = (counts) => Object.values(counts).reduce((sum, count) => sum + count, 0);

const positionAxis = (sample) => ({
  title: 'position in read',
  scale: {
    domain: [sample.positions[0].from - 0.5, sample.positions.at(-1).to + 0.5],
    nice: false,
  },
  axis: { format: ',d', tickMinStep: 1 },
});

// Qualities start at 0, and go up to what the best of all samples needs.
const qualityScale = (samples) => {
  const qualities = samples.flatMap((s) => s.positions.flatMap((p) => [p.p10, p.p90]));
  return { domain: [Math.min(0, ...qualities), Math.max(40, ...qualities) + 1], nice: false };
};

// The lines at 20 and 30.
const guides = {
  data: { values: [{ quality: 20 }, { quality: 30 }] },
  mark: { type: 'rule', strokeDash: [4, 4], color: 'var(--soft)', opacity: 0.7, aria: false },
  encoding: { y: { field: 'quality', type: 'quantitative' } },
};

// Samples have a colour and a dash by their place in the document, whichever of them are shown.
const sampleScale = (samples, all) => {
  const places = samples.map((sample) => all.indexOf(sample));
  const colour = (place) => `var(--c${place % kSampleColours})`;
  const dash = (place) => kDashes[Math.floor(place / kSampleColours + place) % kDashes.length];
  const domain = samples.map((sample) => sample.name);
  const legend = samples.length > 1 ? { title: null } : null;
  return {
    color: {
      field: 'sample',
      type: 'nominal',
      legend,
      scale: { domain, range: places.map(colour) },
      sort: null,
    },
    strokeDash: {
      field: 'sample',
      type: 'nominal',
      legend,
      scale: { domain, range: places.map(dash) },
      sort: null,
    },
  };
};

// ---- One chart for each sample -----------------------------------------------------------------

export function boxes(sample, samples) {
  const gap = sample.positions.length > kManyPositions ? 0 : 0.15; // on both sides of a box
  const values = sample.positions.map(({ counts, bases, ...group }) => ({
    ...group,
    ...edges(group),
    middle: (group.from + group.to) / 2,
    low: group.from - 0.5 + gap * (group.to - group.from + 1),
    high: group.to + 0.5 - gap * (group.to - group.from + 1),
  }));
  const y = (field) => quantity(field, 'quality', { scale: qualityScale(samples) });
  const x = positionAxis(sample);
  const tooltip = [
    { field: 'range', title: 'position' },
    { field: 'reads', type: 'quantitative', format: ',d' },
    { field: 'mean', type: 'quantitative', format: '.2f' },
    ...['p10', 'p25', 'p50', 'p75', 'p90'].map((field) => ({ field, type: 'quantitative' })),
  ];
  return spec(`${sample.name}: quality by position, as boxes`, {
    data: { values },
    layer: [
      guides,
      {
        mark: { type: 'rule', color: 'var(--box-edge)', aria: false },
        encoding: { x: quantity('middle', null, x), y: y('p10'), y2: { field: 'p90' } },
      },
      {
        mark: {
          type: 'rect',
          color: 'var(--box)',
          stroke: 'var(--box-edge)',
          strokeWidth: values.length > kManyPositions ? 0 : 0.75,
          aria: false,
        },
        encoding: {
          x: quantity('low', null, x),
          x2: { field: 'high' },
          y: y('p25'),
          y2: { field: 'p75' },
        },
      },
      {
        mark: { type: 'rule', color: 'var(--median)', strokeWidth: 2, aria: false },
        encoding: { x: quantity('low', null, x), x2: { field: 'high' }, y: y('p50') },
      },
      {
        mark: { type: 'line', color: 'var(--mean)', strokeWidth: 1.5, aria: false },
        encoding: { x: quantity('middle', null, x), y: y('mean') },
      },
      // What the pointer meets: the whole height of a position.
      {
        mark: { type: 'rect', opacity: 0, aria: false },
        encoding: { x: quantity('left', null, x), x2: { field: 'right' }, tooltip },
      },
    ],
  });
}

export function heatmap(sample, samples) {
  const values = sample.positions.flatMap((group) => {
    const all = total(group.counts);
    return Object.entries(group.counts).map(([quality, bases]) => ({
      ...edges(group),
      quality: Number(quality),
      bottom: Number(quality) - 0.5,
      top: Number(quality) + 0.5,
      bases,
      percent: percent(bases, all),
    }));
  });
  const qualities = samples.flatMap((s) =>
    s.positions.flatMap((p) => Object.keys(p.counts).map(Number)),
  );
  const domain = [
    qualities.reduce((a, b) => Math.min(a, b), 0) - 0.5,
    qualities.reduce((a, b) => Math.max(a, b), 40) + 0.5,
  ];
  return spec(`${sample.name}: share of each quality at each position`, {
    data: { values },
    layer: [
      {
        mark: { type: 'rect', color: 'var(--heat)', aria: false },
        encoding: {
          x: quantity('left', null, positionAxis(sample)),
          x2: { field: 'right' },
          y: quantity('bottom', 'quality', { scale: { domain, nice: false }, axis: { grid: false } }),
          y2: { field: 'top' },
          // Strength of one colour: what is rare is faint on light paper and on dark.
          opacity: quantity('percent', '% of bases', {
            scale: { type: 'sqrt', domain: [0, 100], range: [0.12, 1] },
            legend: {
              values: [0, 1, 5, 20, 50, 100],
              symbolType: 'square',
              symbolFillColor: 'var(--heat)',
              symbolStrokeWidth: 0,
              symbolSize: 180,
            },
          }),
          tooltip: [
            { field: 'range', title: 'position' },
            { field: 'quality', type: 'quantitative' },
            { field: 'bases', type: 'quantitative', format: ',d' },
            { field: 'percent', type: 'quantitative', format: '.2f' },
          ],
        },
      },
      guides,
    ],
  });
}

export function composition(sample) {
  const values = sample.positions.flatMap((group) => {
    const all = total(group.bases);
    return kBases.map((base) => ({
      position: (group.from + group.to) / 2,
      range: rangeText(group),
      base,
      count: group.bases[base],
      percent: percent(group.bases[base], all),
    }));
  });
  const colours = kBases.map((base) => `var(--base-${base.toLowerCase()})`);
  const byBase = (range) => ({
    field: 'base',
    type: 'nominal',
    legend: { title: null },
    scale: { domain: kBases, range },
    sort: null,
  });
  return spec(`${sample.name}: bases at each position in percent`, {
    data: { values },
    layer: [
      {
        mark: { type: 'line', strokeWidth: 2, aria: false },
        encoding: {
          x: quantity('position', null, positionAxis(sample)),
          y: quantity('percent', '% of bases', { scale: { domainMin: 0, nice: true } }),
          color: byBase(colours),
          strokeDash: byBase(kBaseDashes),
        },
      },
      nearestPoint(sample.positions.length, {
        x: quantity('position', null, positionAxis(sample)),
        y: quantity('percent', '% of bases'),
        color: byBase(colours),
        tooltip: [
          { field: 'range', title: 'position' },
          { field: 'base', type: 'nominal' },
          { field: 'count', type: 'quantitative', format: ',d' },
          { field: 'percent', type: 'quantitative', format: '.2f' },
        ],
      }),
    ],
  });
}

export function length(sample) {
  const bins = sample.length.histogram;
  const values = bins.map((bin) => ({ ...bin, ...edges(bin) }));
  // A single length would be a bar as wide as the chart.
  const margin = Math.max(0, 10 - (bins.at(-1).to - bins[0].from)) / 2;
  const domain = [values[0].left - margin, values.at(-1).right + margin];
  return spec(`${sample.name}: lengths of reads`, {
    data: { values },
    mark: { type: 'rect', color: 'var(--c0)', aria: false },
    encoding: {
      x: quantity('left', 'bases in read', {
        scale: { domain, nice: false },
        axis: { format: ',d', tickMinStep: 1 },
      }),
      x2: { field: 'right' },
      y: quantity('reads', 'reads', {
        scale: { domainMin: 0 },
        axis: { format: ',d', tickMinStep: 1 },
      }),
      y2: { datum: 0 },
      tooltip: [
        { field: 'range', title: 'length' },
        { field: 'reads', type: 'quantitative', format: ',d' },
      ],
    },
  });
}

// ---- All samples in one chart ------------------------------------------------------------------

// Points of lines that the pointer meets; visible where there are few.
function nearestPoint(count, encoding) {
  return {
    mark: { type: 'point', filled: true, size: 30, opacity: count > kFewPoints ? 0 : 1, aria: false },
    encoding: { ...encoding, opacity: undefined },
  };
}

function lines(description, samples, all, values, x, y, tooltip) {
  const { color, strokeDash } = sampleScale(samples, all);
  return spec(description, {
    data: { values },
    layer: [
      {
        mark: { type: 'line', strokeWidth: 2, aria: false },
        encoding: { x, y, color, strokeDash },
      },
      nearestPoint(values.length / samples.length, {
        x,
        y,
        color,
        tooltip: [{ field: 'sample', type: 'nominal' }, ...tooltip],
      }),
    ],
  });
}

const readsTooltip = [
  { field: 'reads', type: 'quantitative', format: ',d' },
  { field: 'percent', title: '% of reads', type: 'quantitative', format: '.2f' },
];

export function means(samples, all) {
  const values = samples.flatMap((sample) =>
    sample.positions.map((group) => ({
      sample: sample.name,
      position: (group.from + group.to) / 2,
      range: rangeText(group),
      mean: group.mean,
    })),
  );
  // Short reads beside long ones would be a point.
  const longest = samples.map((sample) => sample.length.max);
  const differ = Math.max(...longest) > 20 * Math.min(...longest);
  const chart = lines(
    'Mean quality by position of all samples',
    samples,
    all,
    values,
    quantity('position', 'position in read', {
      axis: { format: ',d', tickMinStep: 1 },
      scale: { type: differ ? 'log' : 'linear', nice: false, domainMin: 1 },
    }),
    quantity('mean', 'mean quality', { scale: qualityScale(samples) }),
    [{ field: 'range', title: 'position' }, { field: 'mean', type: 'quantitative', format: '.2f' }],
  );
  chart.layer.unshift(guides);
  return chart;
}

export function readQuality(samples, all) {
  const values = samples.flatMap((sample) =>
    sample.read_quality.map(({ quality, reads }) => ({
      sample: sample.name,
      quality,
      reads,
      percent: percent(reads, sample.reads),
    })),
  );
  return lines(
    'Average quality of reads, in percent of the reads',
    samples,
    all,
    values,
    quantity('quality', 'average quality of a read', { axis: { tickMinStep: 1 } }),
    quantity('percent', '% of reads'),
    [{ field: 'quality', type: 'quantitative' }, ...readsTooltip],
  );
}

export function gc(samples, all) {
  const values = samples.flatMap((sample) =>
    sample.gc.map((bin) => ({
      sample: sample.name,
      gc: (bin.from + bin.to) / 2,
      range: rangeText(bin),
      reads: bin.reads,
      percent: percent(bin.reads, sample.reads),
    })),
  );
  return lines(
    'GC content of reads, in percent of the reads',
    samples,
    all,
    values,
    quantity('gc', '% C and G in a read', {
      scale: { domain: [0, 100] },
      axis: { values: [0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100] },
    }),
    quantity('percent', '% of reads'),
    [{ field: 'range', title: '% GC' }, ...readsTooltip],
  );
}
