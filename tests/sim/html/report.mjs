// The text report and the page of a run, both taken apart into the same lines: `step|ACL or filter|what is said of it`,
// with single blanks. What the report says below a line, such as a remedy, is a part of that line.

const single = (text) => text.replace(/\s+/g, ' ').trim();
// What belongs to the line above it.
const BELOW = /^\s+(-> |then: |at \/|configured: |the device: |mask_high 0x|(permitted|denied)\b.*; before: )/;
const NOTES = 'The device would differ';
const FILTER = /^(.+ (?:ingress|egress))  (\S+\/)(?:  (all registers 0))?$/;
const ON_INTFS = /^(newly (?:permitted|denied) on )?(.+?) ((?:ingress|egress)(?:: | lets through ).*)$/;

// The line, for each of the interfaces that it names; where there are more than it names, also with their number.
function forEachIntf(line) {
  const [, start = '', list, end] = line.match(ON_INTFS) ?? [];
  if (list === undefined || line.startsWith('ACL ')) return [line];
  const [names, more] = list.split(/ and (?=\d+ more$)/);
  const intfs = names.split(', ');
  const each = intfs.map((intf) => `${start}${intf} ${end}`);
  return more ? [...each, `${intfs.length + parseInt(more, 10)} interfaces: ${start}${end}`] : each;
}

function joined(text) {
  const lines = [];
  let areNotes = false;
  for (const line of text.split('\n')) {
    areNotes = line !== '' && (areNotes || line.startsWith(NOTES));
    if (BELOW.test(line) || (areNotes && line.startsWith('    '))) lines.push(`${lines.pop()} ${line}`);
    else lines.push(line);
  }
  return lines;
}

export function linesOfReport(text) {
  const found = new Set();
  let step = 1;
  let about = '';
  let areNotes = false;
  for (const line of joined(text)) {
    const [, number] = line.match(/^Step (\d+): /) ?? [];
    const [, acl] = line.match(/^(ACL .+ \([^()]+\)): /) ?? [];
    const [, filter, path, zero] = line.match(FILTER) ?? [];
    areNotes = line !== '' && (areNotes || line.startsWith(NOTES));
    if (number) step = Number(number);
    if (line === '' || number) about = '';
    if (acl ?? filter) about = single(acl ?? filter);
    if (filter) found.add(`${step}|${about}|at ${single(filter)} ${path}`);
    if (zero) found.add(`${step}|${about}|${zero}`);
    if (line === '' || filter || /^interface +direction +ACL /.test(line)) continue;
    // A page lists the failed writes and leaves it to the reader to count them.
    const said = single(line).replace(/:$|, \d+ failed$/, '');
    for (const each of areNotes ? [said] : forEachIntf(said)) found.add(`${step}|${about}|${each}`);
  }
  return found;
}

// For pages of any kind: the report cut where a page may have cells, each of which is to be found anywhere on the page.
export function cellsOfReport(text) {
  const cells = text.split(/\n| {2,}|: |; |, expected |(?<=rule\[\d+\]) | (?=0x)| (?=ingress|egress)/)
    .map((each) => single(each.replace(/^-> |[,:]$/g, '').replace(/^\((.*)\)$/, '$1')));
  return new Set(cells.filter(Boolean).map((each) => `||${each}`));
}

// Runs in the browser.
export function textOfPage() {
  const blocks = [...document.querySelectorAll('h1, h2, h3, h4, p, li, th, td, pre')];
  return { found: [], text: blocks.map((each) => each.textContent.replace(/\s+/g, ' ')
    .replace(/(\d),(?=\d{3}\b)/g, '$1')).join('\n'), faults: [] };
}

// Runs in the browser. The lines of linesOfReport; those that are optional are not in every report.
export function linesOfPage() {
  const found = new Set();
  const optional = new Set(); // What the report says shorter, or not at all.
  const faults = [];
  const counts = new Map();
  const single = (text) => text.replace(/\s+/g, ' ').trim();
  const words = (node, without = '') => {
    if (!node) return '';
    const copy = node.cloneNode(true);
    copy.querySelectorAll('p, .words > span').forEach((each) => { each.before(' '); each.after(' '); });
    if (without) copy.querySelectorAll(without).forEach((each) => each.remove());
    return single(copy.textContent);
  };
  const all = (node, selector) => [...node.querySelectorAll(`:scope ${selector}`)];
  const rows = (node) => all(node, '> table > tbody > tr').map((row) => [...row.cells]);
  let step = 1;
  const add = (about, line, to = found) => to.add(`${step}|${about}|${line}`);
  const addOnIntfs = (about, start, intfs, end) => {
    const key = `${step}|${about}|${start}${end}`;
    counts.set(key, [...(counts.get(key) ?? []), ...intfs.map((intf) => `${step}|${about}|${start}${intf} ${end}`)]);
  };
  // The names, of which there may be many behind a fold.
  const intfsOf = (node, short) => {
    const folded = [...node.children].find((each) => each.matches('details') && / more$/.test(words(each.firstChild)));
    return folded ? words(folded.querySelector('p')).split(', ') : short.split(/, | and /);
  };
  const states = new Map();

  function readOverview(table) {
    for (const [name, ...cells] of rows(table)) {
      const intfs = intfsOf(name, words(name, '.state, details'));
      if (words(name.querySelector('.state')) === 'blocked: passes no traffic') intfs.forEach((intf) => add('', `${intf} is blocked: it passes no traffic`));
      cells.forEach((cell, i) => {
        const direction = ['ingress', 'egress'][i];
        let row = null;
        const done = () => row && intfs.forEach((intf) => {
          states.set(`${step}|${intf} ${direction}|${row.acl}`, { ...row, isActive: row.unmatched !== '-' });
          add('', single(`${intf} ${direction} ${row.acl} ${row.state} ${row.slots} ${row.unmatched} ${row.reason}`));
        });
        for (const line of cell.children) {
          const acl = line.querySelector('a');
          if (acl) {
            done();
            const rest = words(line, 'a, .state, meter').split(' unmatched: ');
            row = { acl: words(acl), state: words(line.querySelector('.state')), slots: rest[0], unmatched: rest[1] ?? '-',
              reason: '' };
            const meter = line.querySelector('meter');
            if (meter && `${meter.value}/${meter.max}` !== rest[0]) faults.push(`The bar beside ${rest[0]}`);
            const there = document.querySelector(acl.getAttribute('href').replace(/^#(.*)/, (_, id) => `#${CSS.escape(id)}`));
            if (!there || there.closest('main > section') !== cell.closest('main > section') ||
                !words(there).includes(row.acl)) faults.push(`The link of ${row.acl} leads elsewhere`);
          } else if (row) {
            row.reason = words(line);
          }
        }
        done();
      });
    }
  }

  function readAces(table) {
    const withCounts = table.querySelectorAll('thead th').length > 3;
    return rows(table).filter(([, name]) => name.querySelector('.name')).map((cells) => {
      const [first, ...below] = cells[withCounts ? 4 : 2].children;
      const state = words(first.querySelector('.state'));
      const rest = words(first, '.state');
      const remedies = below.map((each) => (each.matches('.remedy') ? '-> ' : '') + words(each));
      return single([words(cells[1].querySelector('.name')), state + (state && rest ? ': ' : '') + rest, ...remedies]
        .join(' '));
    });
  }

  function readRegisters(details, intfs, direction) {
    const lines = [];
    const [path] = all(details, '> p.path');
    add(`${intfs[0]} ${direction}`, `at ${words(path)}`);
    for (const each of all(details, '> p:not(.path)')) lines.push(words(each));
    for (const table of all(details, '> .scroll')) {
      for (const cells of rows(table)) {
        const hex = cells[1].querySelector('code');
        const bits = [...cells[1].querySelectorAll('.bits b')];
        const value = bits.reduce((sum, bit) => sum * 2 + Number(bit.textContent), 0);
        if (hex && (bits.length !== 32 || value !== Number(words(hex)))) faults.push(`The bits of ${words(hex)}`);
        bits.forEach((bit, i) => {
          const label = bit.getAttribute('aria-label');
          if (label && !label.startsWith(`bit ${31 - i} is ${bit.textContent === '1' ? 'set' : 'clear'}`))
            faults.push(`Bit ${i}: ${label}`);
        });
        lines.push(single(`${words(cells[0])} ${hex ? words(hex) : words(cells[1])} ${words(cells[2])}`));
      }
    }
    for (const intf of intfs) lines.forEach((line) => add(`${intf} ${direction}`, line));
  }

  // The filter of an interface may say less of an ACL that is in force on another one only.
  const inForce = new Set();
  const elsewhere = [];
  function readFilter(section, isLast) {
    const title = words(all(section, '> h3')[0]);
    const [, short = '', direction = ''] = title.match(/^(.*), (ingress|egress)$/) ?? [];
    const intfs = direction ? intfsOf(section, short) : [];
    let about = '';
    let head = ''; // Of the ACL, with its remedy.
    let here;
    for (const part of [...section.children, section.querySelector('h3')]) {
      const isState = part.matches('h4 + p');
      if (head && !isState && !part.matches('.remedy')) {
        add(about, head);
        head = '';
      }
      if (isState) {
        const name = words(part.previousElementSibling);
        const pills = [...part.querySelectorAll('.state')].map((each) => words(each));
        const state = words(part).replace(/^.* here; as a whole: /, '');
        about = direction && !state.includes('if it were attached') ? name.replace(/\)$/, `, ${direction})`) : name;
        head = `${about}: ${state}`;
        here = states.get(`${step}|${intfs[0]} ${direction}|${name.replace(/^ACL | \([^()]*\)$/g, '')}`);
        if (here?.isActive || !intfs.length) inForce.add(`${step}|${about}`);
        if (pills.length > 1 && pills[0] !== here?.state) faults.push(`${about} is ${pills[0]} on ${intfs[0]}`);
      } else if (part.matches('.remedy')) {
        head += ` -> ${words(part)}`;
      } else if (part.matches('.scroll')) {
        readAces(part).forEach((line) => (here?.isActive || !intfs.length ? add(about, line) : elsewhere.push([step, about, line])));
        const implicit = words(part.querySelector('th.dim ~ td:last-child'));
        const verdict = { permit: 'permits', deny: 'denies' }[here?.unmatched];
        if (implicit && implicit !== `no slot: the filter ${verdict} what no slot matches`) faults.push(implicit);
      } else if (part.matches('.difference')) {
        const [what, decider = ''] = [...part.children].map((each) => words(each));
        if (about) addOnIntfs(about, '', intfs, single(`${direction} ${what} ${decider}`));
        else addOnIntfs('', '', intfs, `${direction}, which has no ACL, ${what} ${decider.split('; ')[1]}`);
      } else if (part.matches('details') && words(part.querySelector('summary')) === 'Registers') {
        if (isLast) readRegisters(part, intfs, direction);
      } else if (part.matches('p')) {
        add(about, words(part));
      }
    }
  }

  function readPart(part, isLast) {
    if (part.matches('.filter')) readFilter(part, isLast);
    else if (part.matches('section, details')) [...part.children].forEach((each) => readPart(each, isLast));
    else if (part.matches('ul')) readList(part);
    else if (part.matches('p')) readSentences(part);
    else if (part.matches('[aria-label="Interfaces"]')) readOverview(part);
    else if (part.matches('.scroll')) readTable(part);
    else if (part.matches('h2, h3')) add('', words(part), /^Step|^Not as|would differ/.test(words(part)) ? found : optional);
  }

  function readSentences(part) {
    for (const each of words(part, '.state').split(/(?<=\.) (?=What would become )/)) add('', each.replace(/:$/, ''));
  }

  function readList(list) {
    for (const item of list.children) {
      const remedy = words(item.querySelector('.remedy'));
      const below = all(item, '> ul')[0];
      add('', single(`${words(item, 'ul, .remedy')} ${remedy && `-> ${remedy}`}`));
      if (below) readList(below);
    }
  }

  function readTable(table) {
    for (const cells of rows(table)) {
      const texts = cells.map((cell) => words(cell));
      if (texts.length === 5) {
        const [, intf, direction] = texts[1].match(/^(.*) (ingress|egress)$/);
        addOnIntfs('', `${texts[0]} on `, [intf], `${direction}: ${texts[2]} ${texts[3]}; before: ${texts[4]}`);
      } else {
        const packets = [...cells[2].children].map((each) => words(each));
        add('', single(`${texts[0]} ${texts[1]} ${packets.join(' ')}`));
      }
    }
  }

  const sections = all(document.querySelector('main'), '> *');
  const steps = sections.filter((each) => /^(Step \d+: |What the device does$)/.test(words(each.querySelector('h2'))));
  for (const section of sections) {
    step = Math.max(1, steps.indexOf(section) + 1 || (step > 1 ? steps.length : 1));
    readPart(section, section === steps.at(-1));
  }
  for (const [key, lines] of counts) {
    if (lines.length > 4) found.add(key.replace(/\|([^|]*)$/, `|${lines.length} interfaces: $1`));
    lines.forEach((line) => (lines.length > 4 ? optional : found).add(line));
  }
  for (const [number, about, line] of elsewhere) {
    step = number;
    if (!inForce.has(`${step}|${about}`) || !/ fits, but the ACL (is|would) not /.test(line)) add(about, line);
  }
  return { found: [...found], optional: [...optional], faults };
}
