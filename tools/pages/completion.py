"""Completion for bash, zsh and fish. Verbs, options and their words are the programs'; operations, models and faults
are asked of the programs when they are wanted, since they are the plug-in's and the model list's."""

# What a shell asks a program for, by what is to be completed; a name a line. The words of the line that choose the
# plug-in and the model list go along.
ASKED = {
    'operations': r'''vornhost $common operations --json 2>/dev/null | sed -n 's/^{"operation":"\([^"]*\)".*/\1/p' ''',
    'models': r'''vornhost $common models --json 2>/dev/null | sed -n 's/^{"number":"\([^"]*\)".*/\1/p' ''',
    'faults': r'''camsim faults --json 2>/dev/null | sed -n 's/.*"name":"\([^"]*\)".*/\1/p' '''}

# What stands where: by program, verb and number of the word behind the verb.
POSITIONALS = {('vornhost', 'call', 1): 'operations', ('vornhost', 'operations', 0): 'operations'}


def wanted(program, option):
    """What an option takes: `files`, `folders`, something that is asked for, words, or nothing that is known."""
    if not option['takesValue']:
        return None
    if option['words'].startswith('{'):
        return option['words'].strip('{}').split(',')
    if '--log-level' in option['names']:
        return ['1', '2', '3', '4']
    if '--model' in option['names'] and program == 'vornhost':
        return 'models'
    if '--fault' in option['names']:
        return 'faults'
    return {'FILE': 'files', 'DIR': 'folders'}.get(option['type'], [])


def flags(command):
    return [o for o in command['options'] if o['names']]


def names(command):
    return [name for option in flags(command) for name in option['names']]


# ---- bash

BASH = r'''# Completion of %(name)s for bash.

_%(name)s_asked() {
    case $1 in
%(asked)s
    esac
}

# What the option in $1 takes into COMPREPLY; fails for one that takes nothing.
_%(name)s_value() {
    case "$verb $1" in
%(values)s
        *) return 1 ;;
    esac
    return 0
}

_%(name)s() {
    local cur prev words cword verb= common= place=0 i
    _init_completion -n := || return
    for ((i = 1; i < cword; ++i)); do
        case ${words[i]} in
            --plugin | --models) common+=" ${words[i]} ${words[i + 1]}" ;;&
            -*) _%(name)s_value "${words[i]}" && ((++i)) ;;
            *) if [[ $verb ]]; then ((++place)); else verb=${words[i]}; fi ;;
        esac
    done
    COMPREPLY=()
    if _%(name)s_value "$prev"; then
        return
    fi
    if [[ $cur == -* ]]; then
        case $verb in
%(options)s
        esac
        return
    fi
    case "$verb $place" in
%(places)s
    esac
}

complete -F _%(name)s %(name)s
'''


def bash_value(kind):
    if kind == 'files':
        return '_filedir'
    if kind == 'folders':
        return '_filedir -d'
    words = f'$(_{{name}}_asked {kind})' if isinstance(kind, str) else ' '.join(kind)
    return f'COMPREPLY=($(compgen -W "{words}" -- "$cur"))'


def bash(program):
    name, verbs = program['name'], program['verbs']
    values, options, places = [], [], []
    for verb, command in [('', program)] + [(v['name'], v) for v in verbs]:
        for option in flags(command):
            if option['takesValue']:
                patterns = ' | '.join(f'"{verb} {n}"' for n in option['names'])
                values.append(f'{patterns}) {bash_value(wanted(name, option))} ;;')
        options.append(f'"{verb}") COMPREPLY=($(compgen -W "{" ".join(names(command))}" -- "$cur")) ;;')
    places.append(f'" 0") COMPREPLY=($(compgen -W "{" ".join(v["name"] for v in verbs)}" -- "$cur")) ;;')
    for (of, verb, place), kind in POSITIONALS.items():
        if of == name:
            places.append(f'"{verb} {place}") {bash_value(kind)} ;;')
    asked = [f'{kind}) {command.strip()} ;;' for kind, command in ASKED.items() if command.startswith(name)]
    indent = lambda lines: '\n'.join(' ' * 8 + text.replace('{name}', name) for text in lines)
    return BASH % {'name': name, 'asked': indent(asked), 'values': indent(values),
                   'options': indent(options).replace('\n', '\n    ').replace('        "', '            "', 1),
                   'places': indent(places)}


# ---- fish

def fish_quoted(text):
    return "'" + text.replace('\\', '\\\\').replace("'", "\\'") + "'"


def fish_value(name, kind):
    if kind == 'files':
        return ' -r -F'
    if kind == 'folders':
        return " -x -a '(__fish_complete_directories)'"
    if isinstance(kind, str):
        return f" -x -a '(__{name}_asked_{kind})'"
    return ' -x' + (f" -a '{' '.join(kind)}'" if kind else '')


def fish(program):
    name, verbs = program['name'], program['verbs']
    out = [f'# Completion of {name} for fish.', '']
    for kind, command in ASKED.items():
        if command.startswith(name):
            out += [f'function __{name}_asked_{kind}',
                    "    set -l common (commandline -opc | string join ' ' | string match -ar -- '--(?:plugin|models) \\S+' "
                    "| string split ' ')",
                    '    ' + command.strip(), 'end', '']
    # How many words that are no options stand behind the verb.
    out += [f'function __{name}_at',
            '    set -l words (commandline -opc | string match -v -- "-*")',
            '    set -l at (contains -i -- $argv[1] $words); and test (math (count $words) - $at) -eq $argv[2]',
            'end', '', f'complete -c {name} -f']
    for verb in verbs:
        out.append(f'complete -c {name} -n __fish_use_subcommand -a {verb["name"]} -d {fish_quoted(verb["description"])}')
    for verb, command in [('', program)] + [(v['name'], v) for v in verbs]:
        condition = f"'__fish_seen_subcommand_from {verb}'" if verb else '__fish_use_subcommand'
        for option in flags(command):
            spelt = ''.join(f' -l {n[2:]}' if n.startswith('--') else f' -s {n[1:]}' for n in option['names'])
            kind = wanted(name, option)
            out.append(f'complete -c {name} -n {condition}{spelt}{fish_value(name, kind) if option["takesValue"] else ""}'
                       f' -d {fish_quoted(option["description"])}')
    for (of, verb, place), kind in POSITIONALS.items():
        if of == name:
            out.append(f"complete -c {name} -n '__{name}_at {verb} {place}' -a '(__{name}_asked_{kind})'")
    return '\n'.join(out) + '\n'


# ---- zsh

def zsh_quoted(text):
    return text.replace("'", "'\\''").replace('[', '\\[').replace(']', '\\]').replace(':', '\\:')


def zsh_value(name, kind, type_name):
    if kind == 'files':
        return ':file:_files'
    if kind == 'folders':
        return ':folder:_files -/'
    label = zsh_quoted(type_name.lower()) or 'value'
    if isinstance(kind, str):
        return f':{label}: _{name}_asked {kind}'  # the blank keeps _arguments from adding words
    return f':{label}:({" ".join(kind)})' if kind else f':{label}: '


def zsh_option(name, option):
    value = zsh_value(name, wanted(name, option), option['type']) if option['takesValue'] else ''
    said = zsh_quoted(option['description'])
    return [f"'{'*' if option['isList'] else ''}{n}[{said}]{value}'" for n in option['names']]


def zsh_arguments(name, command, verb):
    specs = [spec for option in flags(command) for spec in zsh_option(name, option)]
    kinds = {place: kind for (of, of_verb, place), kind in POSITIONALS.items() if (of, of_verb) == (name, verb)}
    for place in range(max(kinds, default=-1) + 1):
        kind = kinds.get(place)
        specs.append(f"'{place + 1}:{kind or 'address'}:{f' _{name}_asked {kind}' if kind else ' '}'")
    return ' \\\n                '.join(['_arguments'] + specs)


def zsh(program):
    name, verbs = program['name'], program['verbs']
    asked = '\n'.join(f'        {kind}) found=($({command.strip()})) ;;' for kind, command in ASKED.items()
                      if command.startswith(name)).replace('$common', '${=common}')
    listed = '\n'.join(f"        '{v['name']}:{zsh_quoted(v['description'])}'" for v in verbs)
    by_verb = '\n'.join(f'            {v["name"]})\n                {zsh_arguments(name, v, v["name"])} ;;' for v in verbs)
    own = ' \\\n        '.join(spec for option in flags(program) for spec in zsh_option(name, option))
    return f'''#compdef {name}
# Completion of {name} for zsh.

_{name}_asked() {{
    local -a found
    local common="${{(j: :)${{(M)words:#--(plugin|models)=*}}}}"
    case $1 in
{asked}
    esac
    compadd -a found
}}

_{name}() {{
    local -a verbs
    local state line
    verbs=(
{listed}
    )
    _arguments -C \\
        {own} \\
        '1: :->verb' '*:: :->arguments' && return
    case $state in
        verb) _describe verb verbs ;;
        arguments)
            case $words[1] in
{by_verb}
            esac ;;
    esac
}}

_{name} "$@"
'''


def write(program, folder):
    for shell, file, text in (('bash', program['name'], bash(program)), ('zsh', '_' + program['name'], zsh(program)),
                              ('fish', program['name'] + '.fish', fish(program))):
        path = folder / shell / file
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
