// What a call's form needs to know of an operation.

const codecs = ['h264', 'mpeg4', 'mjpeg'];
const wholeNumber = '-?[0-9]+';
const takesOut = /reboot|factory/i;

const forms = {
  number: {inputmode: 'numeric', pattern: wholeNumber},
  'channel,codec,stream': {pattern: '[0-9]+,(h264|mpeg4|mjpeg),[0-9]+', placeholder: '0,h264,0'},
  'stream,codec': {placeholder: '0,0'},
  'field=value;...': {placeholder: 'frameRate=15;resolution=640x360'},
  text: {},
};

export const controlOf = ({form}) =>
  form === 'codec' ? {choices: codecs} : forms[form] ?? {placeholder: form};

export const kindOf = ({operation, writes}) => takesOut.test(operation) ? 'interrupts' :
  writes                                                                ? 'writes' :
                                                                          'reads';

// Some names stand for two operations, which differ by their arguments: the place in the list tells them
// apart.
export function findOperations(operations, words, mayWrite) {
  const wanted = words.toLowerCase().split(/\s+/).filter(Boolean);
  return operations.map((operation, index) => ({...operation, index}))
    .filter(({writes}) => mayWrite || !writes)
    .filter(({operation, does}) => {
      const text = `${operation} ${does}`.toLowerCase();
      return wanted.every(word => text.includes(word));
    });
}

// Each value beside the name that the operation gives it; of a list there are more values than names.
export function namedValues(outputs, values, unnamed) {
  return values.map((value, index) => ({
    name: outputs[index] ?? (outputs.length === 1 ? `${outputs[0]} ${index + 1}` : unnamed(index)),
    value,
  }));
}
