// Every text of the page. Another language is another file with the same members.

const count = (number, one, many = `${one}s`) =>
  `${number.toLocaleString('en')} ${number === 1 ? one : many}`;

const lowered = text => text.charAt(0).toLowerCase() + text.slice(1);

const differing = number => count(number, 'setting differs', 'settings differ');

const shownOf = one => (shown, all) => shown === all ? count(all, one) : `${shown} of ${count(all, one)}`;

const states = {
  up: 'Working',
  warning: 'Working, with a warning',
  degraded: 'Problem',
  down: 'Down',
  unknown: 'Not asked yet',
};

const restartAndLook = 'Restart the camera, and look at what stands between it and this service.';

// The cause in words, and what a person at this page, or at the camera, can do next.
const causes = {
  'name-not-found': [
    'No device has this host name',
    'Look for a typing mistake in the camera\'s address in the site file, or give the dotted address there.',
  ],
  unreachable: [
    'Nobody answers at this address',
    'See whether the camera has power and a link light, and whether the address in the site file is right.',
  ],
  refused: [
    'A device is there, but nothing listens at this port',
    'If the camera has just restarted, wait a minute. Otherwise its web port is another one: write ' +
      'ADDRESS:PORT in the site file.',
  ],
  'no-answer': [
    'The camera takes the connection and does not answer',
    'Its network is all right, its replies are not: restart the camera.',
  ],
  slow: [
    'The camera answers too slowly',
    'Look at "Last hour". See who else asks this camera all the time, and how good the way to it is.',
  ],
  dropped: ['The camera closes the connection without an answer', restartAndLook],
  cut: ['The camera\'s reply breaks off in the middle', restartAndLook],
  'not-http': [
    'What answers there is not a web server',
    'The port belongs to another service: write the camera\'s web port as ADDRESS:PORT in the site file.',
  ],
  tls: [
    'The port speaks https only',
    'Switch plain HTTP on in the camera\'s own web page, and write that port in the site file.',
  ],
  redirect: [
    'The camera sends every request to another place',
    'The answer below names the place. If that is https, allow HTTP in the camera\'s web page.',
  ],
  'too-large': [
    'The reply is far larger than any camera\'s',
    'Another device probably answers at this address: see what it is.',
  ],
  'no-credentials': [
    'The camera wants a user name and a password, and none are set',
    'Give the camera "credentials" in the site file.',
  ],
  'wrong-password': [
    'The camera refuses the user name or the password',
    'Try the same user and password in the camera\'s own web page. Then put the right ones into the site ' +
      'file\'s "credentials"; the password is the first line of its password file.',
  ],
  'authentication-endless': [
    'The camera asks for the password again and again',
    'Set the camera to Digest authentication in its web page; if it is, restart it.',
  ],
  'authentication-weaker': [
    'The camera accepts the password only in a form that others can read',
    'Set the camera to Digest authentication; if it was so before, find out what changed it.',
  ],
  forbidden: [
    'The camera\'s user may not do this',
    'Give the site file the user and password of an administrator of the camera.',
  ],
  'not-known': [
    'The device does not know the request',
    'It is another make, or its firmware is very old: look at what it calls itself in its web page.',
  ],
  busy: [
    'The camera says that it is busy',
    'Wait a minute. If it stays so, see who else asks this camera all the time.',
  ],
  'camera-fault': [
    'The camera reports a fault of its own',
    'Wait a minute; if it stays so, restart the camera.',
  ],
  'odd-status': [
    'The camera gives an answer that it should not give',
    'See whether it is the camera itself that answers at this address.',
  ],
  'not-a-camera': [
    'What answers there is not this camera',
    'Another device has this address: see which in a browser, and look where the camera is now.',
  ],
  'unknown-model': [
    'A camera answers whose model is not known here',
    'Give it the "model" of a similar camera in the site file, or add it to the model list.',
  ],
  empty: ['The camera\'s reply is empty', 'Restart the camera.'],
  damaged: ['The camera\'s reply cannot be read', restartAndLook],
  'not-reported': [
    'The camera does not report a value that is needed',
    'Its firmware may lack it: see which firmware is newest.',
  ],
  'not-supported': [
    'This camera does not have it',
    'Take it out of the site file, or use a model that has it.',
  ],
  restarting: [
    'The camera is restarting',
    'It was there a moment ago: wait a minute. If it happens again and again, look at its power supply.',
  ],
  'wrong-value': [
    'The camera does not have this value',
    'Choose one of the values that its range shows. Nothing was sent.',
  ],
  'not-accepted': [
    'The camera took the setting, and reports another value',
    'Some settings exclude others: see what else is set, and choose another value.',
  ],
  unconfirmed: [
    'The camera did not confirm the setting: it may have taken it',
    'Read the setting again before you set it once more.',
  ],
  differs: [
    'The camera is not set as the site file wants it',
    'Open "Site file": set the camera, or take what it has into the site file.',
  ],
  'stream-off': [
    'The stream is switched off at the camera',
    'Switch on the stream and its RTSP delivery in the camera\'s web page, or call SetupStreamTransmition ' +
      'under "Calls".',
  ],
  'stream-refused': [
    'The camera refuses the stream',
    'Stream or RTSP delivery is off, too many watch it, or the camera runs another codec: look in its web ' +
      'page.',
  ],
  'stream-unreachable': [
    'Nothing listens at the camera\'s stream port',
    'Compare the RTSP port in the camera\'s web page with "rtspPort" in the site file.',
  ],
  'no-picture': [
    'The stream is open, and no picture comes',
    'See whether the stream\'s transmission is on, and whether the camera has too much to do.',
  ],
  'no-sound': ['The stream is open, and no sound comes', 'Switch the camera\'s sound on in its web page.'],
  'wrong-stream': [
    'The pictures are not what the stream is set to',
    'Set the stream again under "Settings"; if it stays so, restart the camera.',
  ],
  'stream-lost': ['The stream has ended by itself', 'The camera restarted or was set anew. Wait a minute.'],
  'monitor-refused': ['The camera does not tell its alarm inputs', 'Restart the camera.'],
  'monitor-silent': [
    'The camera keeps silent about its alarm inputs',
    'Restart the camera, and look for something in between that holds replies back.',
  ],
  'level-differs': ['The camera tells two levels of the same alarm input', 'Restart the camera.'],
  'clock-off': ['The camera\'s clock is wrong', 'Give the camera a time server in its web page.'],
  'wrong-usage': ['The request was not right', ''],
  'wrong-file': [
    'A file of the service cannot be used',
    'The answer below names the file and the place in it.',
  ],
  'cannot-write': ['The service cannot write a file', 'See whether its disk is full, and its rights.'],
  'no-plugin': ['The service lacks its plug-in', 'Install it, and start the service again.'],
  limit: [
    'The service\'s machine is at a limit',
    'Too many files, threads or too little memory: see what runs there.',
  ],
};

const phases = {
  address: 'while its address was looked up',
  identify: 'while it was asked what it is',
  initialize: 'while it was started',
  capability: 'while it was asked what it can do',
  settings: 'while its settings were read',
  write: 'while it was set',
  'read-back': 'while a setting was read back',
  position: 'while its head\'s position was read',
  move: 'while its head was moved',
  monitor: 'while its alarm inputs were watched',
  stream: 'while its stream was opened',
  audio: 'while its sound was opened',
  clock: 'while its clock was read',
  site: 'while the site file was used',
};

const checks = {
  address: 'Address',
  connect: 'Connection',
  http: 'Web server',
  identity: 'What it is',
  model: 'Model',
  credentials: 'User and password',
  settings: 'Settings',
  capability: 'What it can do',
  clock: 'Clock',
  'answer-times': 'Answer times',
  stream: 'Stream',
  audio: 'Sound',
  input: 'Alarm input',
  position: 'Head',
  drift: 'Against the site file',
  'write-test': 'Write test',
  'move-test': 'Move test',
};

const fields = {
  resolution: 'Resolution',
  frameRate: 'Frame rate',
  quality: 'Quality',
  keyFrameInterval: 'Key frame interval',
  bitRate: 'Bit rate',
  bitRateControl: 'Bit rate control',
  brightness: 'Brightness',
  sharpness: 'Sharpness',
  saturation: 'Saturation',
  whiteBalance: 'White balance',
  backLight: 'Back light',
  focus: 'Focus',
  autoFocus: 'Auto focus',
  wideDynamicRange: 'Wide dynamic range',
};

const units = {
  frameRate: 'frames/s',
  bitRate: 'kbit/s',
  keyFrameInterval: 'frames'
};

export const texts = {
  states,
  causes,
  phases,
  checks,
  fields,
  units,
  product: 'Vornhost',
  skip: 'Skip to the content',
  loading: 'Loading …',
  retry: 'Try again',
  notTold: 'not told',
  probably: what => `Probably: ${lowered(what)}`,
  unnamedCause: cause => `A problem that this page has no words for (${cause})`,
  since: (moment, span) => `since ${moment} (${span})`,
  session: {
    title: 'Log in',
    needed: 'This service wants a token.',
    expired: 'Your session has expired. Log in again: nothing that you typed is lost.',
    wrongToken: 'The service does not know this token. Look for a typing mistake, or ask for a new one.',
    token: 'Token',
    hint: 'The service printed it at its first start, inside its address; others are made with vornhost ' +
      'token add.',
    logIn: 'Log in',
    logOut: 'Log out',
    who: (name, role) => `${name} · ${role}`,
    roles: {view: 'may look', operate: 'may operate', admin: 'administrator'},
  },
  service: {
    away: 'The service does not answer. The page goes on as soon as it does.',
    live: 'Live',
    connecting: 'Connecting …',
    lost: 'Connection lost – what you see may be old',
  },
  errors: {
    unknown: 'It failed, and nobody said why.',
    forbidden: 'Your role may not do this. Log in with a token that may.',
    notFound: name => `The site has no camera "${name}".`,
    page: 'A part of the page failed. Load it again. If it stays so, tell the support desk:',
  },
  problem: {
    title: 'What is wrong',
    asked: 'What was asked',
    answered: 'What came back',
    nothingAsked: 'nothing was asked',
    nothingAnswered: 'nothing',
    try: 'What to try',
    more: 'The service adds',
    showed: phase => `It showed ${phase}.`,
    uncertain: 'Other causes would look the same.',
    examine: 'Examine this camera',
  },
  site: {
    title: 'Cameras',
    filterLabel: 'Search and filter the cameras',
    search: 'Search',
    searchHint: 'Name, address, model, tag or cause',
    sort: 'Order',
    sorts: {
      attention: 'Needs attention first',
      name: 'Name',
      since: 'Latest change first',
      file: 'As in the site file'
    },
    tags: 'Tag',
    anyTag: 'All tags',
    allStates: 'All',
    layout: 'Show as',
    layouts: {rows: 'Rows', pictures: 'Pictures'},
    shown: shownOf('camera'),
    empty: 'The site file has no camera yet.',
    emptyHint:
      'Write cameras into the site file, or make one with vornhost site init, and reload it (SIGHUP).',
    nothingFound: 'No camera fits this search.',
    clear: 'Show all',
    allWell: 'Every camera works.',
    attention: number => `${count(number, 'camera needs', 'cameras need')} attention`,
    announce: (name, state, cause) => `${name}: ${state}` + (cause ? `. ${cause}` : ''),
    drift: differing,
    driftFault: 'Not compared with the site file',
    inputsActive: numbers =>
      `Alarm input${numbers.length === 1 ? '' : 's'} ${numbers.map(number => number + 1).join(', ')} active`,
    inputsQuiet: number => `${count(number, 'alarm input')} inactive`,
    noPicture: 'No picture',
    keys: 'Arrow keys move between cameras, Enter opens one.',
  },
  camera: {
    back: 'All cameras',
    address: 'Address',
    model: 'Model',
    serialNumber: 'Serial number',
    firmware: 'Firmware',
    tags: 'Tags',
    sections: 'Parts of this camera',
    tabs: {
      settings: 'Settings',
      drift: 'Site file',
      doctor: 'Doctor',
      history: 'Last hour',
      exchanges: 'Exchanges',
      calls: 'Calls',
    },
  },
  picture: {
    title: 'Live picture',
    live: age => `${age} old`,
    old: age => `${age} old – not live`,
    waiting: 'Waiting for the first picture …',
    none: 'No picture',
    stream: 'Stream',
    anyStream: 'as the service chooses',
    of: name => `Live picture of ${name}`,
    lost: 'The service does not answer.',
  },
  ptz: {
    title: 'Head',
    pad: 'Move the head',
    hint: 'Press or drag in the field, or use the arrow keys there. Plus and minus zoom, Page Up and Page ' +
      'Down change the speed, space stops, a digit calls that preset.',
    speed: 'Speed',
    percent: value => `${value} %`,
    zoomIn: 'Zoom in',
    zoomOut: 'Zoom out',
    stop: 'Stop',
    up: 'Up',
    down: 'Down',
    left: 'Left',
    right: 'Right',
    still: 'The head stands still',
    moving: 'The head moves',
    position: (pan, tilt, zoom) => `Pan ${pan} · Tilt ${tilt} · Zoom ${zoom}`,
    held: holder => `${holder} is moving this head. Wait until it stands still.`,
    lost: 'The connection was lost: the head stops by itself within a second.',
    refused: text => `The head did not move: ${text}`,
    mayNot: 'Your role may look, but not move the head.',
    presets: 'Presets',
    preset: 'Preset',
    call: 'Go there',
    keep: 'Keep here',
    forget: 'Forget',
    patterns: 'Patterns',
    pattern: 'Pattern',
    play: 'Play',
    record: 'Record',
    end: 'End',
    done: (what, number) => `${what}: ${number}. The camera took it.`,
  },
  inputs: {
    title: 'Alarm inputs',
    name: number => `Alarm input ${number + 1}`,
    active: 'active',
    inactive: 'inactive',
    unknown: 'not known',
    gap: ' · grey: not known',
    none: 'No alarm input is watched, or none could be asked for yet.',
    noChange: 'no change in the last hour',
    changes: number => count(number, 'change in the last hour', 'changes in the last hour'),
    list: 'All changes',
  },
  settings: {
    adjustments: 'Picture and lens',
    stream: id => {
      const [channel, codec, stream] = id.split(',');
      const codecs = {h264: 'H.264', mpeg4: 'MPEG-4', mjpeg: 'MJPEG'};
      return `Input ${Number(channel) + 1} · ${codecs[codec] ?? codec} · stream ${Number(stream) + 1}`;
    },
    head: {
      setting: 'Setting',
      now: 'Now',
      wanted: 'Set to',
      standard: 'Default',
      may: 'May be',
      wish: 'Site file'
    },
    set: 'Set',
    undo: 'Undo',
    discard: 'Discard',
    useDefault: value => `Set to its default, ${value}`,
    from: (from, to, step) => step === 1 ? `${from} to ${to}` : `${from} to ${to} in steps of ${step}`,
    fixed: why => `fixed: ${why}`,
    outcome: (asked, is) => asked === is ? `asked ${asked}, accepted` : `asked ${asked}, now ${is}`,
    undone: (asked, is) => asked === is ? `back to ${is}` : `back to ${is}, not to ${asked}`,
    changed: number => count(number, 'change not yet set', 'changes not yet set'),
    setAll: number => `Set ${count(number, 'change')}`,
    unreadable: text => `cannot be read: ${text || 'no reason told'}`,
    none: 'The camera has told no settings yet.',
    noneDown: 'The camera is not reached, so its settings cannot be read.',
    newValue: name => `New value of ${name}`,
  },
  drift: {
    same: 'The camera is set as the site file wants it.',
    unknown: 'Not compared yet.',
    differs: number => `${differing(number)} from what the site file wants.`,
    fault: 'The camera could not be compared with the site file.',
    noWish: 'The site file says nothing of how this camera is to be set.',
    checked: moment => `Compared ${moment}`,
    ignored: number => `${count(number, 'difference is', 'differences are')} ignored by the site file.`,
    head: {of: 'Where', field: 'Setting', wanted: 'Wanted', camera: 'The camera has', act: 'Mend'},
    set: 'Set the camera',
    setAll: 'Set all',
    take: 'Take into the site file',
    check: 'Compare now',
    setOne: (field, wanted) => `Set ${field} to ${wanted} at the camera`,
    takeOne: (field, camera) => `Take into the site file: ${field} ${camera}`,
    taken: 'Written into the site file.',
    notWritable: 'The service may not write the site file, so what it wants cannot be changed here.',
  },
  doctor: {
    intro: 'The doctor looks at everything from the address to the pictures and names the fault that the ' +
      'others follow from. It changes nothing at the camera, and takes about ten seconds.',
    run: 'Examine',
    running: 'Examining …',
    again: 'Examine again',
    stop: 'Stop',
    bundle: 'Collect a bundle for the support desk',
    bundleHint: 'Every exchange, the log, settings and versions. No password is in it.',
    download: 'Download the bundle',
    results: {ok: 'All right', warning: 'Warning', fault: 'Fault', skipped: 'Skipped'},
    because: check => `needs: ${check}`,
    verdicts: {ok: 'Nothing is wrong.', warning: 'It works, with a warning.', fault: 'A fault was found.'},
    root: 'Look at this first',
    counts: (checks, faults, warnings, span, moment) => `${moment} · ${span} · ` +
      `${count(checks, 'check')}, ${count(faults, 'fault')}, ` + count(warnings, 'warning'),
    inRow: (moment, what) => `Doctor, ${moment}: ${lowered(what)}`,
    runsInRow: 'Doctor: examining …',
    same: 'the same',
    examineTroubled: 'Examine these',
    examineShown: isAll => isAll ? 'Examine all' : 'Examine those shown',
    round: ({isRunning, done, names, found}) => {
      const begin = isRunning ? `Examining: ${done} of ${names.length} done` :
        done === names.length ? `${count(done, 'camera')} examined` :
                                `Stopped: ${done} of ${names.length} examined`;
      return `${begin}; ${found.fault} with a fault, ${found.warning} with a warning` +
        (found.unknown ? `, ${found.unknown} not examined` : '');
    },
    broken: 'The examination broke off before its verdict.',
  },
  exchanges: {
    intro: 'What the service asks this camera, and what it answers; secrets are masked.',
    filter: 'Filter',
    filterHint: 'Path, body, status or reply',
    failures: 'Failures only',
    pause: 'Pause',
    resume: 'Go on',
    clear: 'Clear',
    paused: number => `Paused; ${number} waiting`,
    copy: 'Copy as curl',
    copied: 'Copied',
    copyFailed: 'The browser does not allow copying; select the text:',
    body: 'Body',
    reply: 'Reply',
    failure: 'Failure',
    noReply: 'no reply',
    none: 'Nothing was asked yet.',
    nothingFound: 'No exchange fits this filter.',
    shown: shownOf('exchange'),
    polling: 'Another tab follows another camera: this list is read every two seconds.',
  },
  calls: {
    intro: 'What the camera can be asked, and told, by name.',
    operation: 'Operation',
    find: 'Find an operation',
    pick: 'Choose an operation to see what it does.',
    found: number => count(number, 'operation'),
    kinds: {
      reads: 'Only reads',
      writes: 'Changes something at the camera',
      interrupts: 'Takes the camera out of service',
    },
    dangerous: 'This takes the camera out of service for a while. Call it really?',
    really: 'Yes, call it',
    leave: 'No',
    call: 'Call',
    calling: 'Calling …',
    noArguments: 'It takes no arguments.',
    success: 'Success',
    failed: (code, text) => `Failed (code ${code})` + (text ? `: ${text}` : ''),
    result: 'Result',
    form: form => `Form: ${form}`,
    value: number => `value ${number + 1}`,
  },
  history: {
    answers: 'Answer times',
    answersHint: 'Median and longest of each minute; a mark at the foot is a minute with lost replies.',
    frames: 'Frame rate',
    framesHint: 'Pictures a second that came from the camera; measured only while somebody looks.',
    notMeasured: 'not measured',
    states: 'What happened',
    none: 'Nothing was measured in the last hour.',
    noStates: 'Its state did not change in the last hour.',
    median: 'Median',
    longest: 'Longest',
    lost: 'Lost',
    rate: 'Rate',
    asked: 'Asked',
    time: 'Time',
    table: 'As a table',
    answersLabel: (median, longest) => `Answer times of the last hour; now ${median}, longest ${longest}`,
    framesLabel: rate => `Frame rate of the last hour; last measured ${rate} a second`,
    at: (time, text) => `${time}  ${text}`,
    answerPoint: (median, longest, count, lost) =>
      `median ${median}, longest ${longest}, ${count} asked, ${lost} lost`,
    framePoint: rate => `${rate} a second`,
    milliseconds: 'ms',
    perSecond: '1/s',
  },
};

export const stateText = state => states[state] ?? state;
export const fieldText = field => fields[field] ?? field;

// The cause in words; hedged where others would look the same.
export function causeText(problem) {
  const [what] = causes[problem.cause] ?? [texts.unnamedCause(problem.cause)];
  return problem.certain === false ? texts.probably(what) : what;
}

export const adviceText = problem => causes[problem.cause]?.[1] || problem.try || '';

export function checkText(check) {
  const [kind, detail] = check.split(':');
  const name = checks[kind] ?? kind;
  if (detail === undefined)
    return name;
  return `${name} ${kind === 'input' ? Number(detail) + 1 : detail}`;
}

export const placeText = of =>
  of.startsWith('stream ') ? texts.settings.stream(of.slice('stream '.length)) : texts.settings.adjustments;
