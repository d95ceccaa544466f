// Draws the charts of the samples that are chosen, and lets readers choose them. Everything else of
// the page stands without this script.
import embed from 'vega-embed';

import * as charts from './charts.js';

const { samples } = JSON.parse(document.getElementById('document').textContent);

// The charts by the name of the place that they go to: one for each sample, or one for all.
const kEach = {
  boxes: charts.boxes,
  heatmap: charts.heatmap,
  composition: charts.composition,
  length: charts.length,
};
const kTogether = { means: charts.means, 'read-quality': charts.readQuality, gc: charts.gc };

const kOptions = {
  actions: false,
  ast: true, // expressions are interpreted, none becomes code
  config: charts.config,
  defaultStyle: false,
  mode: 'vega-lite',
  renderer: 'svg',
  tooltip: { disableDefaultStyle: true },
};

const boxesOf = new Map(); // the choice of each sample
const places = (name) => document.querySelector(`[data-chart="${name}"]`);
const chosen = () => samples.filter((sample) => boxesOf.get(sample)?.checked ?? true);

// Draws a chart in a panel of its own, under a sample's name where it is one sample's.
async function draw(place, spec, title) {
  const panel = document.createElement('div');
  panel.className = 'chart';
  if (title) panel.append(Object.assign(document.createElement('h3'), { textContent: title }));
  const drawing = panel.appendChild(document.createElement('div'));
  place.append(panel);
  const { finalize } = await embed(drawing, spec, kOptions);
  finalizers.push(finalize);
  await new Promise((done) => setTimeout(done)); // lets the reader act
}

let finalizers = [];
let drawing = Promise.resolve();

async function redraw() {
  finalizers.forEach((finalize) => finalize());
  finalizers = [];
  const shown = chosen();
  for (const element of document.querySelectorAll('main [data-sample]')) {
    element.classList.toggle('unchosen', !shown.includes(samples[element.dataset.sample]));
  }
  const drawn = shown.filter((sample) => sample.reads > 0);
  for (const [name, chart] of Object.entries(kTogether)) {
    const place = places(name);
    place.replaceChildren();
    place.hidden = drawn.length < (name === 'means' ? 2 : 1);
    if (!place.hidden) await draw(place, chart(drawn, samples));
  }
  for (const [name, chart] of Object.entries(kEach)) {
    const place = places(name);
    place.replaceChildren();
    for (const sample of drawn) await draw(place, chart(sample, drawn), sample.name);
  }
}

// One drawing after the other; only the last of several that wait is done.
let waiting = false;
function requestRedraw() {
  document.documentElement.dataset.drawn = 'no';
  if (waiting) return;
  waiting = true;
  drawing = drawing.then(async () => {
    waiting = false;
    await redraw();
    if (!waiting) document.documentElement.dataset.drawn = 'yes';
  });
}

function choose(checked) {
  for (const box of boxesOf.values()) box.checked = checked;
  requestRedraw();
}

for (const box of document.querySelectorAll('#samples input')) {
  boxesOf.set(samples[box.dataset.sample], box);
  box.addEventListener('change', requestRedraw);
}
document.getElementById('samples').hidden = samples.length < 2;
document.getElementById('all').addEventListener('click', () => choose(true));
document.getElementById('none').addEventListener('click', () => choose(false));
requestRedraw();
