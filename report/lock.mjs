// Makes package-lock.json anew after a change of package.json, without any host name in it: versions
// and checksums decide what is installed, each machine's own npm settings where it comes from.
//
//   npm run lock
import { execFileSync } from 'node:child_process';
import { readFileSync, writeFileSync } from 'node:fs';

const file = new URL('package-lock.json', import.meta.url);

execFileSync('npm', ['install', '--package-lock-only', '--ignore-scripts'], {
  cwd: new URL('.', import.meta.url),
  stdio: 'inherit',
});
const lock = JSON.parse(readFileSync(file, 'utf8'));
for (const entry of Object.values(lock.packages)) {
  delete entry.resolved;
  delete entry.funding;
}
writeFileSync(file, `${JSON.stringify(lock, null, 2)}\n`);
