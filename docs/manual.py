#!/usr/bin/env python3
"""manual.py VERSION DOCS PAGES HEADER...: manual pages out of what is written anyway.

Section 3: a page for each public header (oprj-NAME.3), from its comments and declarations, and a
link to it for every function that it declares. Section 5: a page for each DOCS/*.md whose second
line says which, `<!-- manual page 5: NAME, OTHER NAMES - what it is -->`.
"""
import pathlib
import re
import shutil
import sys

SIGNS = {'\\': r'\e', '-': r'\-', '`': r'\(ga', "'": r'\(aq', '^': r'\(ha', '~': r'\(ti'}


def escaped(text):
    result = ''.join(SIGNS.get(c, c) for c in text)
    return re.sub(r'^\.', r'\\&.', result, flags=re.M)


def running(text, pages):
    """A paragraph with its `code`, **strong** words and [links](to elsewhere)."""
    def link(match):
        page = pages.get(match[2].split('#')[0])
        return match[1] + (f' (see **{page}**(5))' if page else '')
    text = re.sub(r'\[([^\]]*)\]\(([^)\s]*)\)', link, re.sub(r'\s*\n\s*', ' ', text.strip()))
    result, bold = '', False
    for part in re.split(r'(\*\*|`[^`]*`)', text):
        if part == '**':
            bold = not bold
            result += r'\fB' if bold else r'\fR'
        elif len(part) > 1 and part[0] == '`':
            words = re.sub(r'(?<!\S)(?=\S)', r'\\%', escaped(part[1:-1]))  # not to be hyphenated
            result += r'\fB' + words + (r'\fB' if bold else r'\fR')
        else:
            result += escaped(part)
    return (r'\&' if result.startswith('.') else '') + result + '\n'


def verbatim(lines, indent=4):
    body = '\n'.join((r'\&' if line.startswith('.') else '') + escaped(line) for line in lines)
    return f'.PP\n.RS {indent}\n.nf\n{body}\n.fi\n.RE\n'


LINE = 72  # characters that a page has beside its margin, at the usual width


def table(rows, pages):
    """A table, or a list where not even its longest words have room beside each other."""
    head, _, *body = [[cell.strip() for cell in re.split(r'(?<!\\)\|', row.strip()[1:-1])] for row in rows]
    columns = list(zip(head, *body))
    widths = [max([1] + [len(word) for cell in column for word in cell.split()]) for column in columns]
    wanted = [max(map(len, column)) for column in columns]
    room = LINE - 3 * len(head)
    if sum(widths) > room:
        return ''.join('.TP\n' + running(f'**{row[0]}**', pages) +
                       running('; '.join(f'{name}: {cell}' for name, cell in zip(head[1:], row[1:])), pages)
                       for row in body)
    while sum(widths) < room and any(width < want for width, want in zip(widths, wanted)):
        widths[max(range(len(head)), key=lambda i: wanted[i] / widths[i])] += 1
    form = ' '.join(f'lw({width}n)' for width in widths)
    bold = [f'**{cell}**' if cell else '' for cell in head]
    lines = ['\t'.join('T{\n.ad l\n' + (running(cell, pages) if cell else '') + 'T}' for cell in row)
             for row in ([bold] if any(head) else []) + body]
    return f'.PP\n.TS\nallbox;\n{form}.\n' + '\n'.join(lines) + '\n.TE\n'


def blocks(text, pages, code=4):
    """Markdown as far as the documents use it; lines indented by `code` or more stand as they are."""
    result, lines, i = '', text.split('\n'), 0
    item = re.compile(r'(- |\d+\. )')
    while i < len(lines):
        line = lines[i]
        begin = i
        if not line.strip() or line.startswith('<!--'):
            i += 1
        elif line.startswith('#'):
            level, title = line.split(' ', 1)
            result += f'{".SH" if len(level) == 2 else ".SS"} "{escaped(title)}"\n'.replace('`', '')
            i += 1
        elif line.startswith('```'):
            i = lines.index('```', i + 1) + 1
            result += verbatim(lines[begin + 1:i - 1])
        elif line.startswith(' ' * code):
            while i < len(lines) and (lines[i].startswith(' ' * code) or
                                      not lines[i].strip() and lines[i + 1:i + 2] and lines[i + 1].startswith(' ' * code)):
                i += 1
            result += verbatim([each[code:] for each in lines[begin:i]])
        elif line.startswith('|'):
            while i < len(lines) and lines[i].startswith('|'):
                i += 1
            result += table(lines[begin:i], pages)
        else:
            mark = item.match(line)
            i += 1
            while i < len(lines) and lines[i].strip() and not re.match(r'[|#]|```', lines[i]) and not item.match(lines[i]):
                i += 1
            body = running('\n'.join(lines[begin:i])[len(mark[0]) if mark else 0:], pages)
            sign = '' if not mark else r'\(bu' if mark[0] == '- ' else mark[0].strip()
            result += (f'.IP "{sign}" 4\n' if mark else '.PP\n') + body
    return result


def document(path, pages, version):
    """The page of a document, with the names that it goes by."""
    text = path.read_text()
    found = re.search(r'^<!-- manual page 5: (.*?) - (.*) -->$', text, re.M)
    names = found[1].split(', ')
    start = text.index(found[0]) + len(found[0])
    return names, (f"'\\\" t\n.TH \"{escaped(names[0])}\" 5 \"\" \"oPrj {version}\" \"oPrj\"\n"
                   f'.SH NAME\n{escaped(", ".join(names))} \\- {escaped(found[2])}\n.SH DESCRIPTION\n'
                   + blocks(text[start:], pages)
                   + '.SH SEE ALSO\n\\fBoprj\\fR(1)\n')


def comment_text(lines):
    """A comment without its signs and the indentation of its further lines."""
    sign = re.match(r'/\*\*? ?', lines[0])[0]
    text = '\n'.join([lines[0][len(sign):]] + [re.sub(f'^ {{1,{len(sign)}}}', '', line) for line in lines[1:]])
    return re.sub(r'\s*\*/\s*$', '', text)


def shown(lines):
    """Code without what only compilers and other tools need."""
    shift = 0  # of lines below a parenthesis
    for line in lines:
        bare = re.sub(r'(?<!define )OPRJ_API ', '', line)
        if bare != line:
            shift = len(line) - len(bare)
        elif line.startswith(' ' * (shift + 1)):
            bare = line[shift:]
        if bare.rstrip(' \\').endswith((';', '{')):
            shift = 0
        yield re.sub(r'///<?', '//', re.sub(r'/\*\*<?', '/*', bare))


def items(lines):
    """What a header holds: ('section', name), ('comment', text), ('code', lines) and ('end', '')."""
    i, depth, public = 0, 0, True
    skipped = re.compile(r'#(include|if|else|elif|endif|undef|define \w+_H$)|OPRJ_(BEGIN|END)_C|namespace |}$|}  // namespace')
    while i < len(lines):
        line = lines[i]
        begin = i
        section = re.match(r'/\* --- (.*?) --- \*/', line)
        if section:
            yield 'section', section[1]
        elif line.startswith('/*'):
            while '*/' not in lines[i]:
                i += 1
            yield 'comment', comment_text(lines[begin:i + 1])
        elif not line.strip():
            yield 'end', ''
        elif line == '#if defined(_WIN32)':
            i = lines.index('#else', i)
        elif not skipped.match(line):
            code = []
            while True:
                line = lines[i]
                depth += line.count('{') - line.count('}')
                public = public and line.strip() != 'private:' or line.startswith('}')
                if public:
                    code.append(line)
                if depth <= 0 and not line.endswith('\\') and not line.rstrip().endswith((',', '(')):
                    if re.search(r'[;})]\s*(/\*.*\*/|//.*)?$', line) or line.startswith('#') or line.startswith('OPRJ_'):
                        break
                i += 1
            depth = 0
            yield 'code', list(shown(code))
        i += 1


FUNCTION = re.compile(r'\b(o[a-z]+_\w+)\(')


def header(path, known, pages, version):
    """The page of a header, with the names of what it declares."""
    text = path.read_text()
    opening, rest = re.match(r'(/\*.*?\*/)\n(.*)', text, re.S).groups()
    title, _, remainder = comment_text(opening.split('\n')).partition('\n\n')
    short, _, more = ' '.join(title.split()).partition('. ')
    if remainder:
        more += '\n\n' + remainder
    stem = 'oprj-' + path.stem
    space = re.findall(r'^namespace (\w+) {$', rest, re.M)
    out = (f".TH \"{escaped(stem)}\" 3 \"\" \"oPrj {version}\" \"oPrj\"\n.SH NAME\n"
           f"{escaped(stem)} \\- {running(short.rstrip('.'), pages)}"
           f'.SH SYNOPSIS\n.nf\n\\fB#include <oprj/{path.name}>\\fR\n')
    if 'OrvikDatum' in space:
        out += r'\fBusing namespace OrvikDatum;\fR' + '\n'
    elif space:
        out += f'\\fBusing namespace {"::".join(space[:2])};\\fR\n'
    out += '.PP\n\\fBcc ... $(pkg\\-config \\-\\-cflags \\-\\-libs oprj)\\fR\n.fi\n.SH DESCRIPTION\n'
    out += blocks(more, pages, 2)
    names, macros, comment, code = set(), {}, '', []

    def group():
        nonlocal comment, code
        result = ''
        if code and not all(re.match(r'(class|struct|enum class) \w+;', line) for line in code):
            result += '.PP\n.nf\n' + ''.join(f'\\fB{escaped(line)}\\fR\n' for line in code) + '.fi\n'
            result += f'.RS 4\n{blocks(comment, pages, 2)}.RE\n' if comment else ''
        elif comment and not code:
            result += blocks(comment, pages, 2)
        comment, code = '', []
        return result

    for kind, value in items(rest.split('\n')):
        if kind == 'section':
            out += group() + f'.SH "{escaped(value)}"\n'
        elif kind == 'comment':
            out += group()
            comment = value
        elif kind == 'end':
            out += group()
        else:
            code += value
            joined = ' '.join(line.rstrip('\\') for line in value)
            macro = re.match(r'#define (\w+)\(NAME\)', joined)
            use = re.match(r'(\w+)\((\w+)\)', joined)
            if macro:
                macros[macro[1]] = re.findall(r'\b(oprj_##NAME##\w+)\(', joined)
            elif use and use[1] in macros:
                names |= {name.replace('##NAME##', use[2]) for name in macros[use[1]]}
            elif not joined.startswith(('typedef', '#')):
                names |= set(FUNCTION.findall(joined))
    out += group()
    others = [name for name in re.findall(r'#include "(\w+)\.h"', text) if name in known]
    also = [f'\\fBoprj\\-{escaped(name)}\\fR(3)' for name in others] + ['\\fBoprj\\fR(1)']
    return stem, names, out + '.SH SEE ALSO\n' + ',\n'.join(also) + '\n'


def main(version, docs, target, headers):
    folder = pathlib.Path(target)
    for section in ('man3', 'man5'):
        shutil.rmtree(folder / section, ignore_errors=True)
        (folder / section).mkdir(parents=True)

    def write(section, name, names, page):
        (folder / f'man{section}' / f'{name}.{section}').write_text(page)
        for other in sorted(set(names) - {name}):
            (folder / f'man{section}' / f'{other}.{section}').symlink_to(f'{name}.{section}')

    sources = [path for path in sorted(pathlib.Path(docs).glob('*.md'))
               if '<!-- manual page 5:' in path.read_text()]
    pages = {path.name: re.search(r'manual page 5: ([\w-]+)', path.read_text())[1] for path in sources}
    for path in sources:
        names, page = document(path, pages, version)
        write(5, names[0], names[1:], page)
    paths = [pathlib.Path(name) for name in headers]
    for path in paths:
        write(3, *header(path, {each.stem for each in paths}, pages, version))


if __name__ == '__main__':
    if len(sys.argv) < 5:
        sys.exit(__doc__)
    main(*sys.argv[1:4], sys.argv[4:])
