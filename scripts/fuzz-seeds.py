#!/usr/bin/env python3
"""Writes the fuzz targets' seed corpora from the captured tool outputs of a formats reference
(fenced code blocks under numbered headings) and from the tests' fixture files.

usage: fuzz-seeds.py FORMATS.md FUZZ_DIR
Each block goes to the corpus of every target its section feeds, named "<section>-<n>". In the
git sections a literal "\\0" stands for a NUL byte and "\\xNN" for a raw byte.
"""
import pathlib
import re
import sys

SECTIONS = {
    "1.2": ["docker_report", "docker_texts"],
    "1.3": ["docker_lines"],
    "1.4": ["docker_lines"],
    "1.5": ["docker_lines", "docker_texts"],
    "1.6": ["docker_texts"],
    "1.7": ["docker_texts"],
    "2.1": ["simctl_json"],
    "2.2": ["simctl_json"],
    "2.3": ["simctl_json"],
    "3.1": ["brew_json"],
    "3.2": ["brew_json"],
    "4.1": ["lsof_working_dirs", "lsof_open_files"],
    "4.2": ["lsof_open_files", "lsof_working_dirs"],
    "4.3": ["lsof_open_files"],
    "5.3": ["ollama_manifest"],
    "7.1": ["lmstudio_settings"],
    "8.2": ["android_properties"],
    "8.3": ["android_properties"],
    "8.4": ["android_properties"],
    "9.1": ["claude_session_head"],
    "9.2": ["claude_config"],
    "9.4": ["codex_toml"],
    "9.5": ["editor_workspace"],
    "10.1": ["info_plist"],
    "11.2": ["git_status"],
    "11.3": ["git_status"],
    "11.4": ["git_status"],
}
RAW_ESCAPES = {"11.2", "11.3", "11.4"}


def unescape(text):
    out = bytearray()
    i = 0
    data = text.encode()
    while i < len(data):
        if data[i:i + 2] == b"\\0":
            out.append(0)
            i += 2
        elif data[i:i + 2] == b"\\x" and re.match(rb"[0-9a-fA-F]{2}", data[i + 2:i + 4]):
            out.append(int(data[i + 2:i + 4], 16))
            i += 4
        else:
            out.append(data[i])
            i += 1
    # In a captured -z stream each record ends in NUL, not in the newline shown.
    return bytes(out).replace(b"\0\n", b"\0")


def blocks(formats):
    section = None
    inside = False
    lines = []
    for line in formats.read_text().splitlines():
        heading = re.match(r"^###\s+(\d+\.\d+)\s", line)
        if heading and not inside:
            section = heading.group(1)
            continue
        if line.startswith("```"):
            if inside:
                yield section, "\n".join(lines) + "\n"
                lines = []
            inside = not inside
            continue
        if inside:
            lines.append(line)


def main():
    formats, fuzz = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    counts = {}
    for section, text in blocks(formats):
        for target in SECTIONS.get(section, []):
            counts[(section, target)] = counts.get((section, target), 0) + 1
            data = unescape(text) if section in RAW_ESCAPES else text.encode()
            folder = fuzz / "corpus" / target
            folder.mkdir(parents=True, exist_ok=True)
            (folder / f"formats-{section}-{counts[(section, target)]}").write_bytes(data)
    for (section, target), n in sorted(counts.items()):
        print(f"{target}: {n} from {section}")


if __name__ == "__main__":
    main()
