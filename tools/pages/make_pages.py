#!/usr/bin/env python3
"""Makes the manual pages and the completion of the shells, of what the programs declare and of the guides."""
import argparse
import json
import pathlib
import re

import completion
import roff
import texts


def names_of(option):
    """How an option is written in the manual: its names, and what it takes."""
    names = ', '.join(f'\\fB{roff.escaped(name)}\\fR' for name in option['names'])
    if not option['takesValue']:
        return names
    value = f'\\fI{roff.escaped(option["type"])}\\fR'
    return f'{names} {value}' if names else value


def description_of(option):
    said = option['description'].rstrip('.')
    if words := option['words'].strip('{}'):
        said += f': one of {words.replace(",", ", ")}' if len(words) < 200 else ''
    if option['default'] and 'default' not in said:
        said += f' (default: {option["default"]})'
    if option['excludes']:
        said += '; not with ' + ', '.join(option['excludes'])
    return said + '.'


def options_of(options):
    out = []
    for option in options:
        head = f'\\fI{roff.escaped(option["positional"])}\\fR' if option['positional'] else names_of(option)
        out += roff.item(head, '') [:-1] + [roff.line(roff.escaped(description_of(option)))]
    return out


def parts_of(footer):
    """A help's footer: what it says, its examples, and what it says of the exit status."""
    parts, part = {'said': [], 'examples': [], 'status': []}, 'said'
    for text in footer.splitlines():
        if text.startswith('Example'):
            part, text = 'examples', re.sub(r'^Examples?:', '', text)
        elif text.startswith('Exit status'):
            part = 'status'
        parts[part].append(text)
    return {name: '\n'.join(lines).strip('\n') for name, lines in parts.items()}


def statuses_of(text):
    """"Exit status: 0 this; 1 that." as items."""
    pieces = re.split(r'(?:^|[;,] )(\d) ', re.sub(r'\s+', ' ', text.removeprefix('Exit status: ')).rstrip('.'))
    out = []
    for number, meaning in zip(pieces[1::2], pieces[2::2]):
        out += roff.item(number, meaning + '.')
    return out


def list_section(title, rows, **places):
    if not rows:
        return []
    out = [f'.SH {title}']
    for head, text in rows:
        out += roff.item(f'\\fB{roff.escaped(head.format(**places))}\\fR', text)
    return out


def see_also(pages):
    return ['.SH "SEE ALSO"', *(f'.BR {roff.escaped(name)} ({section})' + (',' if i + 1 < len(pages) else '')
                                for i, (name, section) in enumerate(page[:-1].split('(') for page in pages))]


class Pages:
    def __init__(self, arguments):
        self.places = {'model_list': arguments.model_list, 'plugins': arguments.plugins}
        self.version, self.folder, self.docs = arguments.version, arguments.output / 'man', arguments.docs

    def write(self, name, section, summary, body):
        file = self.folder / f'man{section}' / f'{name}.{section}'
        file.parent.mkdir(parents=True, exist_ok=True)
        head = [f'.TH {name.upper()} {section} "" "vornhost {self.version}"', '.SH NAME',
                f'{roff.escaped(name)} \\- {roff.escaped(summary)}']
        lines = head + body
        kept = [text for before, text in zip([''] + lines, lines) if not (text == '.PP' and before.startswith('.S'))]
        file.write_text('\n'.join(kept) + '\n')

    def command(self, program, verb=None):
        own = verb or program
        parts, common = parts_of(own['footer']), {tuple(o['names']) for o in program['options']}
        name = f'{program["name"]}-{verb["name"]}' if verb else program['name']
        is_own = lambda o: not verb or o['positional'] or tuple(o['names']) not in common
        summary = verb['description'] if verb else texts.GUIDE[name]
        body = self.synopsis(program, verb)
        body += ['.SH DESCRIPTION', *roff.prose(parts['said'] if verb else own['description'] + '\n\n' + parts['said'])]
        if not parts['said'] and verb:
            body += roff.prose(verb['description'] + '.')
        if own['verbs']:
            body += ['.SS Verbs']
            for other in own['verbs']:
                body += self.verb_of(other) if verb else self.verb_item(other['name'], other)
        body += ['.SH OPTIONS', *options_of([o for o in own['options'] if is_own(o)])]
        if verb and (shared := [o for o in own['options'] if not is_own(o)]):
            body += ['.SS "Of every verb"', *options_of(shared)]
        status = parts_of(program['footer'])['status']
        body += ['.SH "EXIT STATUS"', *statuses_of(status)]
        if verb and parts['status']:
            body += roff.prose(parts['status'])
        body += list_section('ENVIRONMENT', texts.ENVIRONMENT[program['name']])
        body += list_section('FILES', texts.FILES[program['name']], **self.places)
        footers = [own['footer']] + [v['footer'] for v in own['verbs'] if verb]
        examples = list(dict.fromkeys(text.strip() for footer in footers
                                      for text in parts_of(footer)['examples'].splitlines())) or [f'{program["name"]} {own["name"]}']
        body += ['.SH EXAMPLES', *roff.indented(examples)]
        others = [f'{program["name"]}(1)'] if verb else []
        if not verb and program['name'] == 'vornhost':
            others = [f'vornhost-{v["name"]}(1)' for v in program['verbs']]
        body += see_also(others + texts.SEE_ALSO[program['name']])
        self.write(name, 1, summary[0].lower() + summary[1:], body)

    @staticmethod
    def verb_item(head, verb):
        return ['.TP', f'\\fB{roff.escaped(head)}\\fR', roff.line(roff.escaped(verb['description'] + '.'))]

    def verb_of(self, verb):
        """A verb of a verb, which has no page of its own."""
        said = parts_of(verb['footer'])
        operands = [o['positional'] + ('...' if o['isList'] else '') for o in verb['options'] if o['positional']]
        return [*self.verb_item(' '.join([verb['name']] + operands), verb), '.RS',
                *roff.prose('\n\n'.join(filter(None, (said['said'], said['status'])))),
                *options_of([o for o in verb['options'] if o['names'] and '--help' not in o['names']]), '.RE']

    def synopsis(self, program, verb):
        words = [f'.B {program["name"]}'] + ([f'.B {verb["name"]}'] if verb else []) + ['[\\fIOPTIONS\\fR]']
        own = verb or program
        if verb and verb['name'] in texts.ARGUMENTS:
            words.append(roff.escaped(texts.ARGUMENTS[verb['name']]))
        for option in own['options']:
            if option['positional']:
                value = roff.escaped(option['positional']) + ('...' if option['isList'] else '')
                words.append(f'\\fI{value}\\fR' if option['required'] else f'[\\fI{value}\\fR]')
            elif option['required']:
                words.append(names_of(option))
        if own['verbs']:
            words.append('\\fIVERB\\fR [\\fIARGUMENTS\\fR]' if program['name'] == 'vornhost' else '[\\fBfaults\\fR]')
        return ['.SH SYNOPSIS', *words]

    def guides(self):
        self.write('vornhost-model-list', 5, 'what a recorder knows of each camera family and model',
                   ['.SH SYNOPSIS', roff.line(roff.escaped(self.places['model_list'])),
                    *roff.markdown((self.docs / 'model-list.md').read_text()),
                    *list_section('FILES', [('{model_list}', 'The shipped list.')], **self.places),
                    *see_also(['vornhost(1)', 'vornhost-models(1)', 'vornhost-host(7)'])])
        self.write('vornhost-host', 7, 'what a host of device-handler plug-ins provides',
                   ['.SH SYNOPSIS', *roff.literal(texts.HOST_SYNOPSIS),
                    *roff.markdown((self.docs / 'loading-the-plug-in.md').read_text()),
                    *list_section('FILES', [('{plugins}', 'The plug-ins.')], **self.places),
                    *see_also(['vornhost(1)', 'vornhost-model-list(5)'])])


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument('--commands', type=pathlib.Path, nargs='+', required=True)
    for name in ('--docs', '--output'):
        parser.add_argument(name, type=pathlib.Path, required=True)
    for name in ('--version', '--model-list', '--plugins'):
        parser.add_argument(name, required=True)
    arguments = parser.parse_args()
    pages = Pages(arguments)
    for file in arguments.commands:
        program = json.loads(file.read_text())
        pages.command(program)
        if program['name'] == 'vornhost':
            for verb in program['verbs']:
                pages.command(program, verb)
        completion.write(program, arguments.output)
    pages.guides()


if __name__ == '__main__':
    main()
