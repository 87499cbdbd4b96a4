#!/usr/bin/env python3
"""Makes dictionaries and seeds for the fuzz targets: make_seeds.py OUT

OUT/<target>.dict gets the byte strings of the target's sources, OUT/<target>/ the files of tests/data, and for each head
that stands in the sources a sector that begins with it.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SUBSYSTEMS = ['archives', 'containers', 'images', 'media', 'stores', 'system', 'text']
# What an input begins with, see ScanInput.h. Zeros stand for the usual.
HEAD = bytes(12)
DATA_FOLDERS = {'archives': ['archives'], 'containers': ['compound', 'zip'], 'images': ['bitmaps', 'drawings', 'photos'],
                'media': ['media'], 'stores': ['stores'], 'system': ['system'], 'text': ['text'],
                'compound': ['compound'], 'zip': ['zip']}
LARGEST_SEED = 65536
# The first byte chooses the part of the tool, see HostTarget.cpp.
HOST_SEEDS = [b'\x00doc, .JPG,157,0', b'\x01' + bytes(8) + 'Bl\u00e4tter\x1b[2J\\\u202e'.encode(),
              b'\x02\x01--format\0jsonl\0--memory\0001GiB\0--jobs\0002\0--sector-size\0512\0--types\0doc',
              b'\x02\0--format\0table', b'\x02\0--help', b'\x03' + bytes(range(64)) + bytes(range(200, 256)) * 4,
              b'\x04' + bytes(range(64)), b'\x05\0\0' + bytes(range(200)), b'\x06\x03\0\x10\0image',
              b'\x07' + bytes(range(64)), b'\x08\x03' + bytes(range(64)),
              b'\x0d\x01{"type":"find","row":157,"extension":"ace","start_sector":3,"size":9,"size_estimated":false,'
              b'"confidence":"doubtful","verdict":"undecided","notes":["a"],"embedded_in":{"start_sector":1,"row":144},'
              b'"path":null,"written":0}\n{"type":"summary","bytes":5000,"interrupted":false,"error":null,'
              b'"unreadable_ranges":[{"start_sector":7,"sectors":2}]}\n',
              b'\x0d\0{"type":"source","path":"x","size":5000,"sector_size":512,"file_types":320}\n',
              b'\x0e2/3', b'\x0e 1/0', b'\x0f\x04' + bytes(range(64)), b'\x10\x00', b'\x10\x00\x3f\x00\x02',
              b'\x10\x00\x00\x10\x00\x10\x20\x41', b'\x10\x01SQLite format 3\0' + bytes(84), b'\x10\x01a diary', b'\x11',
              b'\x11\x00\x20\x41', b'\x12\x01{"type":"copy","path":"a/b/c","sha256":"' + b'0' * 64 + b'","length":9,'
              b'"start_sector":3,"offset":1536,"row":157,"size":9,"size_estimated":false,"truncated":false,'
              b'"unreadable_bytes":0,"duplicate":false}\n', b'\x12\0{"type":1}\n',
              b'\x13# mine\ntypes = jpg, 144\nexclude=png\n\nmax-size = png=1MiB\n']
# What files are that have walks to their ends, in the order of the registry's rows, and those that may have titles.
WALKS = ['doc', 'gif', 'png', 'tif', 'raf', 'ico', 'sgi', 'gz', 'tar', 'deb', 'flv', 'mxf', 'dcr', 'pdb', 'hiv', 'lnk', 'o',
         'dll', 'res', 'pfb', 'ttf']
TITLED = ['jpg', 'tif', 'docx', 'odt', 'pdf', 'mp3', 'ogg', 'opus', 'flac']
HOST_WORDS = ['--format', '--sector-size', '--jobs', '--memory', '--types', '--help', '--version', 'table', 'jsonl', 'GiB',
              'KiB', 'MB', '18446744073709551616', '-1', '0x10', 'doc', 'jpg', '157', '3gp', 'scan', 'types', 'merge',
              '--progress', '--shard', '--rewind', 'line', 'json', 'none', '1/2', '"type"', '"find"', '"row"',
              '"extension"', '"start_sector"', '"sectors"', '"unreadable_ranges"', '"size_estimated"', '"embedded_in"',
              '"confidence"', '"verdict"', '"notes"', '"summary"', '"source"', '"path"', '--output', '"sha256"', '"length"',
              '"offset"', '"size"', '"truncated"', '"unreadable_bytes"', '"duplicate"', 'types =', 'exclude =',
              'docProps/core.xml', 'meta.xml', 'PK\1\2', 'PK\3\4', 'PK\5\6', '/Title', '/Producer', 'endobj', 'FEFF',
              'ID3', 'TIT2', 'TITLE=', '\3vorbis', 'OpusTags', 'OggS', 'fLaC', 'Exif\0\0', '2020:01:02 03:04:05',
              'http://purl.org/dc/elements/1.1/', 'title', '!<arch>\n', '`\n', 'Microsoft C/C++ MSF 7.00\r\n\x1a']
LITERAL = r'((?:"(?:[^"\\\n]|\\.)*"\s*)+)'
ESCAPES = {'n': 10, 'r': 13, 't': 9, '\\': 92, '"': 34, "'": 39, 'f': 12, 'v': 11, 'a': 7, 'b': 8}


def bytes_of(literals):
    """The bytes of C++ string literals that stand side by side."""
    result = bytearray()
    for literal in re.findall(r'"((?:[^"\\\n]|\\.)*)"', literals):
        for match in re.finditer(r'\\x([0-9A-Fa-f]{1,2})|\\([0-7]{1,3})|\\(.)|([^\\])', literal):
            hexadecimal, octal, escape, plain = match.groups()
            if hexadecimal:
                result.append(int(hexadecimal, 16))
            elif octal:
                result.append(int(octal, 8) & 255)
            elif escape:
                result.append(ESCAPES.get(escape, ord(escape)))
            else:
                result += plain.encode('latin-1', 'replace')
    return bytes(result)


def strings_in(source):
    return {bytes_of(match) for match in re.findall(LITERAL, source)}


def heads_in(source):
    """The (offset, bytes) of what At states."""
    heads = set()
    for offset, literals in re.findall(r'\bAt\(\s*(0x[0-9A-Fa-f]+|\d+)\s*,\s*' + LITERAL, source):
        heads.add((int(offset, 0), bytes_of(literals)))
    return heads


def write_dictionary(path, strings):
    with open(path, 'w', encoding='ascii') as out:
        for string in sorted(strings):
            if 1 < len(string) <= 64:
                out.write('"' + ''.join('\\x%02X' % byte for byte in string) + '"\n')


def write_seeds(folder, target, sources):
    folder.mkdir(parents=True, exist_ok=True)
    for data in DATA_FOLDERS.get(target, []):
        for path in sorted((ROOT / 'tests/data' / data).iterdir()):
            if path.is_file():
                (folder / path.name).write_bytes(HEAD + path.read_bytes()[:LARGEST_SEED])
    heads = sorted(head for source in sources for head in heads_in(source))
    for number, (offset, string) in enumerate(heads):
        sector = bytearray(max(1024, offset + len(string)))
        sector[offset:offset + len(string)] = string
        (folder / f'head-{number}').write_bytes(HEAD + sector)


def host_seeds():
    """Inputs for the parts of the host target, some of them of files that tests have."""
    yield from HOST_SEEDS
    sector_size = b'\xff\x01'
    for path in sorted((ROOT / 'tests/data').glob('*/*.*')):
        content = path.read_bytes()[:LARGEST_SEED]
        kind = path.suffix[1:]
        if kind in WALKS:
            yield b'\x14' + bytes([WALKS.index(kind)]) + sector_size + bytes(5) + content
        if kind in TITLED:
            yield b'\x15' + sector_size + content


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    out = pathlib.Path(sys.argv[1])
    texts = {name: [path.read_text(encoding='utf-8') for path in sorted((ROOT / 'src' / name).glob('*.*'))]
             for name in SUBSYSTEMS}
    texts['compound'] = [(ROOT / 'src/containers' / name).read_text(encoding='utf-8')
                         for name in ('KCompoundReader.cpp', 'KCompoundFileType.cpp', 'CompoundRules.cpp')]
    texts['zip'] = [path.read_text(encoding='utf-8') for path in (ROOT / 'src/containers').glob('*Zip*')]
    texts['all'] = [text for name in SUBSYSTEMS for text in texts[name]]
    DATA_FOLDERS['all'] = sorted({folder for folders in DATA_FOLDERS.values() for folder in folders})
    for target, sources in texts.items():
        write_seeds(out / target, target, sources)
        write_dictionary(out / f'{target}.dict', set().union(*map(strings_in, sources)))
    write_seeds(out / 'host', 'host', [])
    for number, seed in enumerate(host_seeds()):
        (out / 'host' / f'part-{number}').write_bytes(seed)
    write_dictionary(out / 'host.dict', {word.encode() for word in HOST_WORDS})


if __name__ == '__main__':
    main()
