"""Text as roff: what stands in manual pages."""
import re


def escaped(text):
    """The text as it stands, hyphens and quotes as they are typed."""
    text = text.replace('\\', '\\e')
    for plain, name in (('-', '\\-'), ("'", '\\(aq'), ('`', '\\(ga'), ('^', '\\(ha'), ('~', '\\(ti')):
        text = text.replace(plain, name)
    return text


def line(text):
    """A line of text that roff takes for no request."""
    return '\\&' + text if text.startswith(('.', '\\(aq')) else text


def inline(text):
    """Markdown within a line: code and strong words in bold, of links the text."""
    text = re.sub(r'\[([^\]]+)\]\([^)]+\)', r'\1', text)
    pieces = re.split(r'(`[^`]+`|\*\*[^*]+\*\*)', text)
    marked = {'`': 1, '**': 2}
    width = [next((n for mark, n in marked.items() if p.startswith(mark) and len(p) > 2 * n), 0) for p in pieces]
    return ''.join(f'\\fB{escaped(p[n:-n])}\\fR' if n else escaped(p) for p, n in zip(pieces, width))


def literal(lines):
    return ['.EX', *(line(escaped(text)) for text in lines), '.EE']


def indented(lines):
    return ['.RS 4', *literal(lines), '.RE']


def paragraph(text):
    return ['.PP', line(inline(text))]


def item(head, text):
    return ['.TP', line(head), line(inline(text)) if text else '\\&']


def prose(text):
    """Paragraphs, with lines that begin with a blank as they stand; each line of a paragraph that ends a sentence
    ends a line of the source."""
    out, filled, kept = [], [], []

    def flush():
        if filled:
            out.extend(['.PP', line(escaped(' '.join(filled)))])
        if kept:
            out.extend(indented(kept))
        filled.clear()
        kept.clear()

    for text_line in text.splitlines():
        if not text_line.strip():
            flush()
        elif text_line.startswith(' '):
            if filled:
                flush()
            kept.append(text_line)
        else:
            if kept:
                flush()
            filled.append(text_line)
    flush()
    return out


def table(rows):
    """Each row as an item: its first cell, and the others behind it."""
    out = []
    for cells in rows:
        rest = '; '.join(cell for cell in cells[1:] if cell)
        out += item(inline(cells[0]), rest)
    return out


def markdown(text):
    """A guide, from its first heading of the second level on; what stands before is the description."""
    out, lines = ['.SH DESCRIPTION'], iter(text.splitlines())
    filled = []

    def flush():
        if filled:
            out.extend(paragraph(' '.join(filled)))
            filled.clear()

    next(lines)  # the title
    rows = []
    for text_line in lines:
        if rows and not text_line.startswith('|'):
            out.extend(table(rows[2:]))
            rows = []
        if text_line.startswith('```'):
            flush()
            code = []
            while not (code_line := next(lines)).startswith('```'):
                code.append(code_line)
            out.extend(['.PP', *indented(code)])
        elif text_line.startswith('|'):
            flush()
            rows.append([cell.strip() for cell in text_line.strip().strip('|').split(' | ')])
        elif heading := re.match(r'(#+) (.*)', text_line):
            flush()
            level = '.SH' if len(heading[1]) == 2 else '.SS'
            title = heading[2].replace('`', '')
            out.append(f'{level} "{escaped(title.upper() if level == ".SH" else title)}"')
        elif entry := re.match(r'(- |\d+\. )(.*)', text_line):
            flush()
            out.append('.IP \\(bu 2' if entry[1] == '- ' else f'.IP {entry[1].strip()} 4')
            filled_entry = [entry[2]]
            out.append(line(inline(' '.join(filled_entry))))
        elif text_line.startswith('  ') and out[-2].startswith('.IP'):
            out[-1] += ' ' + inline(text_line.strip())
        elif not text_line.strip():
            flush()
        else:
            filled.append(text_line)
    if rows:
        out.extend(table(rows[2:]))
    flush()
    return out
