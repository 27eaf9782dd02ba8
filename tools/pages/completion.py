"""Completion for bash, zsh and fish. Verbs, options and their words are the programs'; operations, models and faults
are asked of the programs when they are wanted, since they are the plug-in's and the model list's."""

# What a shell asks a program for, by what is to be completed; a name a line. The words of the line that choose the
# plug-in and the model list go along.
ASKED = {
    'operations': r'''vornhost $common operations --json 2>/dev/null | sed -n 's/^{"operation":"\([^"]*\)".*/\1/p' ''',
    'models': r'''vornhost $common models --json 2>/dev/null | sed -n 's/^{"number":"\([^"]*\)".*/\1/p' ''',
    'faults': r'''camsim faults --json 2>/dev/null | sed -n 's/.*"name":"\([^"]*\)".*/\1/p' '''}

# What stands where that is asked for: by program, verb and number of the word behind the verb.
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


def commands(program):
    """All that can be said, by its words: "", "record", "site check". A verb of a verb takes the options of both."""
    yield '', program
    for verb in program['verbs']:
        yield verb['name'], verb
        for own in verb['verbs']:
            yield f'{verb["name"]} {own["name"]}', {**own, 'options': own['options'] + flags(verb)}


def places(program, words, command):
    """What stands behind these words, by its place."""
    positionals = [o for o in command['options'] if o['positional']]
    kinds = {place: 'files' for place, option in enumerate(positionals) if option['positional'] == 'SITE'}
    kinds.update({place: kind for (of, verb, place), kind in POSITIONALS.items() if (of, verb) == (program['name'], words)})
    return kinds


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
            *)
                case $verb in
                    '') verb=${words[i]} ;;
                    %(groups)s) verb+=" ${words[i]}" ;;
                    *) ((++place)) ;;
                esac
                ;;
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
    name = program['name']
    values, options, stands = [], [], []
    for words, command in commands(program):
        for option in flags(command):
            if option['takesValue']:
                patterns = ' | '.join(f'"{words} {n}"' for n in option['names'])
                values.append(f'{patterns}) {bash_value(wanted(name, option))} ;;')
        options.append(f'"{words}") COMPREPLY=($(compgen -W "{" ".join(names(command))}" -- "$cur")) ;;')
        if command['verbs']:
            stands.append(f'"{words} 0") {bash_value([v["name"] for v in command["verbs"]])} ;;')
        stands += [f'"{words} {place}") {bash_value(kind)} ;;' for place, kind in places(program, words, command).items()]
    groups = ' | '.join(verb['name'] for verb in program['verbs'] if verb['verbs'])
    asked = [f'{kind}) {command.strip()} ;;' for kind, command in ASKED.items() if command.startswith(name)]
    indent = lambda lines: '\n'.join(' ' * 8 + text.replace('{name}', name) for text in lines)
    return BASH % {'name': name, 'asked': indent(asked), 'values': indent(values), 'groups': groups or "'-'",
                   'options': indent(options).replace('\n', '\n    ').replace('        "', '            "', 1),
                   'places': indent(stands)}


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


FISH = r'''# Completion of %(name)s for fish.
%(asked)s
# The words that are no options, nor what those take.
function __%(name)s_words
    set -l takes %(takes)s
    set -l skips 0
    for word in (commandline -opc)[2..-1]
        if test $skips = 1
            set skips 0
        else if contains -- $word $takes
            set skips 1
        else if not string match -q -- '-*' $word
            echo $word
        end
    end
end

# Whether these begin with the verb that is given behind PLACES, and PLACES words follow it; "any" number of them.
function __%(name)s_at
    set -l words (__%(name)s_words)
    set -l verb $argv[2..-1]
    test (count $words) -ge (count $verb); or return 1
    for i in (seq (count $verb))
        test $words[$i] = $verb[$i]; or return 1
    end
    test $argv[1] = any; or test (math (count $words) - (count $verb)) -eq $argv[1]
end

complete -c %(name)s -f
%(completions)s
'''


def fish_completions(program):
    name = program['name']
    for words, command in commands(program):
        for verb in command['verbs']:
            yield f'-n \'__{name}_at 0 {words}\' -a {verb["name"]} -d {fish_quoted(verb["description"])}'
        condition = f"'__{name}_at {'any' if words else '0'} {words}'"
        for option in flags(command):
            spelt = ''.join(f' -l {n[2:]}' if n.startswith('--') else f' -s {n[1:]}' for n in option['names'])
            value = fish_value(name, wanted(name, option)) if option['takesValue'] else ''
            yield f'-n {condition}{spelt}{value} -d {fish_quoted(option["description"])}'
        for place, kind in places(program, words, command).items():
            what = ' -F' if kind == 'files' else f" -a '(__{name}_asked_{kind})'"
            yield f"-n '__{name}_at {place} {words}'{what}"


def fish(program):
    name = program['name']
    asked = []
    for kind, command in ASKED.items():
        if command.startswith(name):
            asked += ['', f'function __{name}_asked_{kind}',
                      "    set -l common (commandline -opc | string join ' ' | string match -ar -- "
                      "'--(?:plugin|models) \\S+' | string split ' ')",
                      '    ' + command.strip(), 'end']
    takes = {n for _, command in commands(program) for o in flags(command) if o['takesValue'] for n in o['names']}
    completions = [f'complete -c {name} {text}' for text in fish_completions(program)]
    return FISH % {'name': name, 'asked': '\n'.join(asked + ['']), 'takes': ' '.join(sorted(takes)),
                   'completions': '\n'.join(completions)}


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


def zsh_arguments(program, words, command):
    name = program['name']
    specs = [spec for option in flags(command) for spec in zsh_option(name, option)]
    if command['verbs']:
        listed = ' '.join(f'{v["name"]}\\:"{zsh_quoted(v["description"])}"' for v in command['verbs'])
        specs += [f"'1:verb:(({listed}))'", "'*:: :->arguments'"]
    kinds = places(program, words, command)
    for place in range(max(kinds, default=-1) + 1):
        kind = kinds.get(place)
        action = '_files' if kind == 'files' else f' _{name}_asked {kind}' if kind else ' '
        specs.append(f"'{place + 1}:{kind or 'address'}:{action}'")
    return ' \\\n                '.join(['_arguments -C' if command['verbs'] else '_arguments'] + specs)


def zsh(program):
    name, verbs = program['name'], program['verbs']
    asked = '\n'.join(f'        {kind}) found=($({command.strip()})) ;;' for kind, command in ASKED.items()
                      if command.startswith(name)).replace('$common', '${=common}')
    listed = '\n'.join(f"        '{v['name']}:{zsh_quoted(v['description'])}'" for v in verbs)
    by_words = '\n'.join(f'        "{words}")\n            {zsh_arguments(program, words, command)} ;;'
                         for words, command in commands(program) if words)
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

# What stands behind the words in $1.
_{name}_behind() {{
    local state line
    case $1 in
{by_words}
    esac
    [[ $state == arguments ]] && _{name}_behind "$1 $words[1]"
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
        arguments) _{name}_behind "$words[1]" ;;
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
