// Documents for pages that no example gives: names that are markup, and very many of everything.

const TEXTS = [
  '<script>alert(1)</script>', '"><img src=x onerror=alert(1)>', '&lt;b&gt;', "' onmouseover='alert(1)", 'two\nlines',
  'a\ttab', 'turned \u202etxet', 'x'.repeat(64), 'a    b', '\\n', '</style><b>', ']]>', '\u0000\u001b[31m', 'é ü 漢字 🙂'];

const ace = (name, matches, forwarding) => ({ name, matches, actions: { forwarding } });
const point = (intf, direction, ...acls) =>
  ({ 'interface-id': intf, [direction]: { 'acl-sets': { 'acl-set': acls.map((name) => ({ name })) } } });
const acls = (acl, interfaces) =>
  ({ 'ietf-access-control-list:acls': { acl, 'attachment-points': { interface: interfaces } } });
const device = (names) => ({
  inRules: 24, outRules: 24,
  interfaces: names.map((name, i) => ({ name, core: 1 + (i >> 6), portGroup: 1 + (i & 63) })) });

// ACLs, ACEs and interfaces with such names; every second ACL is refused.
const hostile = acls(
  TEXTS.map((name, i) => ({
    name, type: 'ipv4-acl-type',
    aces: { ace: [name, TEXTS[(i + 1) % TEXTS.length]].map((each, k) => ace(each, i % 2 && k ? { ipv4: { protocol: 1 } } :
      { ipv4: { 'destination-ipv4-network': `192.0.2.${i + k}/32` } }, k ? 'accept' : 'drop')) } })),
  TEXTS.map((name) => point(name, 'egress', name)));

const OTHER = TEXTS[0].slice(0, 8);
const faulty = { ...hostile, [OTHER]: 1,
  'ietf-interfaces:interfaces': { interface: [{ name: OTHER }, { name: TEXTS[1], enabled: false }] } };

// 4,096 interfaces with 1,000 ACLs of 24 rules.
const manyNames = Array.from({ length: 4096 }, (_, i) => `p${i}`);
const many = acls(
  Array.from({ length: 1000 }, (_, a) => ({
    name: `a${a}`, type: 'ipv4-acl-type',
    aces: { ace: Array.from({ length: 24 }, (_, r) => ace(`r${r}`,
      { ipv4: { 'source-ipv4-network': `10.${a % 250}.${a >> 2 & 255}.${r + 1}/32` } }, r % 2 ? 'accept' : 'drop')) } })),
  manyNames.map((name, i) => point(name, 'ingress', `a${i % 1000}`)));

export const DOCUMENTS = {
  'hostile-device.json': device(TEXTS),
  'hostile.json': hostile,
  '<img src=x onerror=alert(1)>.json': faulty,
  'many-device.json': device(manyNames),
  'many.json': many,
  'broken-device.json': { inRules: 99, interfaces: [{ name: OTHER, core: 0 }, {}] } };
