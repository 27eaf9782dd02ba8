"""Finds, on clang's syntax tree, the single changes of a source that a test should notice."""
import itertools, pathlib, re
from clang.cindex import CursorKind as Kind, Index, TypeKind

COMPARISONS = {'<': ['<=', '>='], '<=': ['<', '>'], '>': ['>=', '<='], '>=': ['>', '<'], '==': ['!='], '!=': ['==']}
PAIRS = ('&& ||', '+ -', '* /', '| &', '<< >>', '+= -=', '|= &=', '++ --', 'true false', 'min max', 'front back',
         'find rfind', 'find_first_of find_last_of', 'find_first_not_of find_last_not_of', 'floor ceil')
OTHERS = {one: [other] for pair in PAIRS for one, other in (pair.split(), reversed(pair.split()))}
OTHERS.update(COMPARISONS, notify_all=['notify_one'], **{'!': [' ']})
UNARY = {token: OTHERS[token] for token in ('!', '-', '++', '--')}
DEFAULTS = {'CError': '::corvane::device_handler::v1_0::CError::Success()', 'bool': 'true'}  # of other types {}
ACTIONS = (Kind.CALL_EXPR, Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR, Kind.UNARY_OPERATOR)
BODIES = {Kind.COMPOUND_STMT: 0, Kind.IF_STMT: 1, Kind.WHILE_STMT: 1, Kind.FOR_STMT: -1, Kind.CXX_FOR_RANGE_STMT: -1,
          Kind.CASE_STMT: -1, Kind.DEFAULT_STMT: -1}  # from which child on statements stand in it
def span(node):
    return node.extent.start.offset, node.extent.end.offset
def explicit(node):
    """What implicit conversions are applied to."""
    children = list(node.get_children())
    return explicit(children[0]) if node.kind == Kind.UNEXPOSED_EXPR and len(children) == 1 else node
def type_of(node):
    kind = explicit(node).type.get_canonical()
    is_text = kind.kind in (TypeKind.CONSTANTARRAY, TypeKind.NULLPTR)
    return 'char*' if is_text else re.sub(r'\bconst\b|[& ]', '', kind.spelling)
class Finder:
    """Its functions yield (start, end, replacements). Offsets are of bytes, each of which is a character of text."""

    def __init__(self, text, root):
        self.text, self.root = text, root
    def of(self, node):
        return self.text[slice(*span(node))]
    def token(self, start, end, others=OTHERS):
        token = self.text[start:end].strip()
        start = self.text.index(token, start)
        return start, start + len(token), others.get(token, [])
    def swaps(self, nodes):
        """Each with the next of its type."""
        for i, one in enumerate(nodes):
            for other in [other for other in nodes[i + 1:] if type_of(other) == type_of(one) != 'void'][:1]:
                (a, b), (c, d) = span(one), span(other)
                yield a, d, [self.of(other) + self.text[b:c] + self.of(one)] if b <= c else []
    def changes(self, node, above=(None, None), result=None, last=(0, 0)):
        """Those of a node and of what is in it; `result` and `last` are the function's type and last statement."""
        children = list(node.get_children())
        if children and children[-1].kind == Kind.COMPOUND_STMT and not node.kind.is_statement():
            result = None if node.kind == Kind.LAMBDA_EXPR else node.result_type.get_canonical()
            last = max(map(span, children[-1].get_children()), default=(0, 0))
        yield from self.of_statement(node, children, above, result, last)
        yield from self.of_expression(node, children, *span(node))
        for child in children:
            is_number = node.spelling == 'HostAssert' and explicit(child).kind == Kind.INTEGER_LITERAL  # of the line
            if not is_number and child.kind != Kind.STATIC_ASSERT and child.spelling != 'reserve':
                yield from self.changes(child, (node.kind, above[0]), result, last)
    def of_statement(self, node, children, above, result, last):
        for statement in children[BODIES.get(node.kind, len(children)):]:
            if explicit(statement).kind in ACTIONS and explicit(statement).spelling != 'reserve':
                yield *span(statement), [' ']
        if node.kind in (Kind.IF_STMT, Kind.WHILE_STMT, Kind.CONDITIONAL_OPERATOR):
            yield *span(children[0]), [f'!({self.of(children[0])})']
        elif node.kind in (Kind.BREAK_STMT, Kind.CONTINUE_STMT, Kind.RETURN_STMT):
            is_conditional = Kind.IF_STMT in above[:1 + (above[0] == Kind.COMPOUND_STMT)]
            if is_conditional and not last[0] <= node.extent.start.offset < last[1]:
                yield *span(node), [' ']
            is_success = self.of(node).endswith('CError::Success()')
            if children and result and result.kind != TypeKind.LVALUEREFERENCE and not is_success:
                yield *span(children[0]), [DEFAULTS.get(result.spelling.split('::')[-1], '{}')]
    def of_expression(self, node, children, start, end):
        number = re.fullmatch(r"(0x[0-9a-fA-F']+|[0-9']+)([uUlL]*)", self.text[start:end])
        text = re.match(r'"((?:[^"\\\n]|\\.)*)"', self.text[start:end])
        if node.kind in (Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR):
            yield self.token(children[0].extent.end.offset, children[1].extent.start.offset)
        elif node.kind == Kind.UNARY_OPERATOR:
            yield self.token(start, children[0].extent.start.offset, UNARY)
            yield self.token(children[0].extent.end.offset, end, UNARY)
        elif node.kind == Kind.CALL_EXPR and node.spelling.startswith('operator') and len(children) == 3:
            yield self.token(*span(children[1]), COMPARISONS)
        elif node.kind == Kind.CALL_EXPR and node.spelling not in ('min', 'max'):
            yield from self.swaps([argument for argument in node.get_arguments() if argument])
        elif node.kind == Kind.INIT_LIST_EXPR:
            yield from self.swaps(children)
            rows = [list(child.get_children()) for child in children if child.kind == Kind.INIT_LIST_EXPR]
            for pair in itertools.chain(*(zip(*two) for two in zip(rows, rows[1:]))):
                yield from self.swaps(pair)
        elif node.kind in (Kind.DECL_REF_EXPR, Kind.MEMBER_REF_EXPR):
            target, others = node.referenced, OTHERS
            if target and target.kind == Kind.ENUM_CONSTANT_DECL and target.location.file.name.startswith(self.root):
                names = [constant.spelling for constant in target.semantic_parent.get_children()]
                others = {name: [after] for name, after in zip(names, names[1:] + names[:1])}
            yield self.token(end - len(node.spelling), end, others)
        elif node.kind == Kind.CXX_BOOL_LITERAL_EXPR:
            yield self.token(start, end)
        elif node.kind == Kind.INTEGER_LITERAL and number:
            value = int(number[1].replace("'", ''), 0)
            yield start, end, [str(other) + number[2] for other in {value + 1, abs(value - 1), 0}]
        elif node.kind == Kind.STRING_LITERAL and text:
            # Neither an escape nor the place of a value, which make faults of another kind.
            letters = [match for match in re.finditer(r'\\.|%\d*[%|]|%[-#0-9.lz]*[a-zA-Z]|(.)', text[1]) if match[1]]
            for letter in letters and [letters[start % len(letters)]]:  # any, but the same in each run
                at, other = start + 1 + letter.start(), chr(ord(letter[1]) + 1)
                yield at, at + 1, [other if letter[1].isalnum() and other.isalnum() else 'x']
def find(source, arguments, root, pattern):
    """The changes of a translation unit: (file, start, end, replacement), of the files below root that match."""
    unit = Index.create().parse(source, arguments)
    assert not [diagnostic for diagnostic in unit.diagnostics if diagnostic.severity >= 3], source
    found = set()
    for node in unit.cursor.get_children():
        name = node.location.file.name if node.location.file else ''
        if name.startswith(root) and re.match(pattern, name[len(root):]):
            text = pathlib.Path(name).read_bytes().decode('latin-1')
            for start, end, others in Finder(text, root).changes(node):
                found.update((name[len(root):], start, end, other) for other in others if other != text[start:end])
    return found
