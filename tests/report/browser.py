"""A headless Chromium that a test drives over the browser's own protocol, through two pipes.

Nothing but Python and the browser is needed. The browser has no network: every host name fails to
resolve, and each request that a page makes is kept in `requests`. What a page prints to its console
or fails with is kept in `complaints`.
"""
import base64
import fcntl
import json
import os
import select
import shutil
import subprocess
import tempfile
import time

PROGRAMS = ('chromium', 'chromium-browser', 'google-chrome')
SWITCHES = (
    '--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
    '--disable-background-networking', '--disable-component-update', '--disable-sync',
    '--disable-dev-shm-usage', '--disable-extensions', '--hide-scrollbars', '--mute-audio',
    '--no-default-browser-check', '--host-resolver-rules=MAP * ~NOTFOUND',
    '--remote-debugging-pipe')


def program():
    """The browser's path, or None."""
    return next(filter(None, map(shutil.which, PROGRAMS)), None)


class Browser:
    """REQUIRES: program(). Use it in a `with` statement, which ends the browser."""

    def __init__(self, seconds):
        self._deadline = time.monotonic() + seconds
        self._profile = tempfile.TemporaryDirectory(prefix='readkit-browser-')
        # The browser reads commands from descriptor 3 and writes answers to 4; the ends that it gets
        # lie elsewhere until then.
        commands, self._to = os.pipe()
        self._from, answers = os.pipe()
        ends = [fcntl.fcntl(fd, fcntl.F_DUPFD_CLOEXEC, 10) for fd in (commands, answers)]

        def hand_over():
            os.dup2(ends[0], 3)
            os.dup2(ends[1], 4)
        self._process = subprocess.Popen(
            [program(), *SWITCHES, f'--user-data-dir={self._profile.name}', 'about:blank'],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            preexec_fn=hand_over, close_fds=False)
        for end in (commands, answers, *ends):
            os.close(end)
        self._received = b''
        self._id = 0
        self._session = None
        self.requests = []
        self.complaints = []

    def __enter__(self):
        targets = self.send('Target.getTargets')['targetInfos']
        page = next(t['targetId'] for t in targets if t['type'] == 'page')
        self._session = self.send('Target.attachToTarget', targetId=page, flatten=True)['sessionId']
        for domain in ('Page', 'Runtime', 'Log', 'Network'):
            self.send(f'{domain}.enable')
        return self

    def __exit__(self, *_):
        self._process.kill()
        self._process.wait()
        os.close(self._to)
        os.close(self._from)
        # Children of the browser may still write there for a moment.
        shutil.rmtree(self._profile.name, ignore_errors=True)

    def send(self, method, **params):
        """Sends a command and returns its result."""
        self._id += 1
        command = {'id': self._id, 'method': method, 'params': params}
        if self._session:
            command['sessionId'] = self._session
        os.write(self._to, json.dumps(command).encode() + b'\0')
        while True:
            message = self._receive()
            if message.get('id') == self._id:
                if 'error' in message:
                    raise RuntimeError(f'{method}: {message["error"]}')
                return message['result']

    def _receive(self):
        while b'\0' not in self._received:
            left = self._deadline - time.monotonic()
            if left <= 0 or not select.select([self._from], [], [], left)[0]:
                raise TimeoutError('the browser does not answer')
            piece = os.read(self._from, 1 << 20)
            if not piece:
                raise RuntimeError('the browser has ended')
            self._received += piece
        text, _, self._received = self._received.partition(b'\0')
        message = json.loads(text)
        self._note(message.get('method'), message.get('params'))
        return message

    def _note(self, event, params):
        if event == 'Network.requestWillBeSent':
            self.requests.append(params['request']['url'])
        elif event == 'Runtime.exceptionThrown':
            details = params['exceptionDetails']
            self.complaints.append(details.get('exception', details).get('description', details))
        elif event == 'Runtime.consoleAPICalled':
            self.complaints.append([a.get('value', a.get('description')) for a in params['args']])
        elif event == 'Log.entryAdded':
            self.complaints.append(params['entry']['text'])

    # ---- What a reader does ------------------------------------------------------------------

    def resize(self, width, height, dark=False, media='screen'):
        self.send('Emulation.setDeviceMetricsOverride', width=width, height=height,
                  deviceScaleFactor=1, mobile=False)
        self.send('Emulation.setEmulatedMedia', media=media, features=[
            {'name': 'prefers-color-scheme', 'value': 'dark' if dark else 'light'}])

    def open(self, url):
        self.send('Page.navigate', url=url)
        self.wait_for('document.readyState === "complete" && location.href !== "about:blank"')

    def evaluate(self, expression):
        """The value of a JavaScript expression in the page."""
        result = self.send('Runtime.evaluate', expression=expression, returnByValue=True,
                           awaitPromise=True)
        if 'exceptionDetails' in result:
            raise RuntimeError(result['exceptionDetails']['exception']['description'])
        return result['result'].get('value')

    def wait_for(self, condition):
        while not self.evaluate(f'Boolean({condition})'):
            if time.monotonic() > self._deadline:
                raise TimeoutError(condition)
            time.sleep(0.02)

    def middle_of(self, element):
        """The middle, in the window, of what a JavaScript expression gives, scrolled into view."""
        return self.evaluate(f'''(() => {{
            const element = {element};
            element.scrollIntoView({{block: 'center', behavior: 'instant'}});
            const box = element.getBoundingClientRect();
            return [box.left + box.width / 2, box.top + box.height / 2];
        }})()''')

    def point_at(self, x, y):
        self.send('Input.dispatchMouseEvent', type='mouseMoved', x=x, y=y)

    def click(self, element):
        x, y = self.middle_of(element)
        self.point_at(x, y)
        for kind in ('mousePressed', 'mouseReleased'):
            self.send('Input.dispatchMouseEvent', type=kind, x=x, y=y, button='left', clickCount=1)

    def press(self, key, code=None, text=''):
        for kind in ('keyDown', 'keyUp'):
            self.send('Input.dispatchKeyEvent', type=kind, key=key, code=code or key,
                      windowsVirtualKeyCode={'Tab': 9, 'Enter': 13, ' ': 32}[key],
                      text=text if kind == 'keyDown' else '')

    def screenshot(self, path, whole=False):
        data = self.send('Page.captureScreenshot', captureBeyondViewport=whole)['data']
        with open(path, 'wb') as picture:
            picture.write(base64.b64decode(data))
