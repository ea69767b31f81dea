"""What is changed in an instruction, held against the assembler's own reading of the changed bytes."""

import shutil
import subprocess
from pathlib import Path

import pytest

from mutation.instructions import FLOATING_CONSTANT_KIND, Change, Instruction, changes_of, instructions_of
from mutation.program import Mutant, in_random_order
from mutation.results import Equivalents, Results, report

CASES = [
    ("74 05", "je     7", {"jne 7"}),
    ("7c 05", "jl     7", {"jge 7", "jle 7"}),
    ("0f 86 10 00 00 00", "jbe    16", {"ja 16", "jb 16"}),
    ("0f 94 c0", "sete   %al", {"setne %al"}),
    ("48 0f 4c c2", "cmovl  %rdx,%rax", {"cmovge %rdx,%rax", "cmovle %rdx,%rax"}),
    ("01 d0", "add    %edx,%eax", {"sub %edx,%eax"}),
    ("31 c0", "xor    %eax,%eax", set()),
    ("48 29 d0", "sub    %rdx,%rax", {"add %rdx,%rax"}),
    ("83 c0 05", "add    $0x5,%eax", {"sub $0x5,%eax", "add $0x6,%eax", "add $0x4,%eax"}),
    ("83 f8 ff", "cmp    $0xffffffff,%eax", {"cmp $0x0,%eax", "cmp $0xfffffffe,%eax"}),
    ("48 83 ec 08", "sub    $0x8,%rsp", set()),
    ("c1 e0 03", "shl    $0x3,%eax", {"shr $0x3,%eax", "shl $0x4,%eax", "shl $0x2,%eax"}),
    ("b8 2a 00 00 00", "mov    $0x2a,%eax", {"mov $0x2b,%eax", "mov $0x29,%eax"}),
    ("66 c7 47 02 ff 00", "movw   $0xff,0x2(%rdi)", {"movw $0x100,0x2(%rdi)", "movw $0xfe,0x2(%rdi)"}),
    ("f2 0f 59 c1", "mulsd  %xmm1,%xmm0", {"divsd %xmm1,%xmm0"}),
    ("0f b6 47 04", "movzbl 0x4(%rdi),%eax", {"movzbl 0x5(%rdi),%eax", "movzbl 0x3(%rdi),%eax"}),
    ("8d 44 91 01", "lea    0x1(%rcx,%rdx,4),%eax", {"lea 0x2(%rcx,%rdx,4),%eax", "lea 0x0(%rcx,%rdx,4),%eax"}),
    ("64 48 2b 14 25 28 00 00 00", "sub    %fs:0x28,%rdx", set()),
]


def changed(code: bytes, change: Change) -> bytes:
    return code[: change.offset] + change.bytes + code[change.offset + len(change.bytes) :]


@pytest.mark.skipif(shutil.which("objdump") is None, reason="objdump is not installed")
@pytest.mark.parametrize(("code", "text", "others"), CASES)
def test_changes_are_what_they_say(tmp_path: Path, code: str, text: str, others: set[str]) -> None:
    instruction = Instruction(0, bytes.fromhex(code), text)
    found = set()
    for change in changes_of(instruction):
        binary = tmp_path / "code"
        binary.write_bytes(changed(instruction.code, change))
        command = ["objdump", "-D", "-w", "-b", "binary", "-m", "i386:x86-64", str(binary)]
        lines = subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()
        read = [line.split("\t")[2] for line in lines if line.count("\t") == 2]
        assert len(read) == 1
        found.add(" ".join(read[0].replace("0x7", "7").replace("0x16", "16").split()))
    assert found == others


def test_constants_are_found_relative_to_the_instruction() -> None:
    instruction = Instruction(0x1000, bytes.fromhex("f20f590510000000"), "mulsd  0x10(%rip),%xmm0        # 1018")
    assert [change.offset for change in changes_of(instruction) if change.kind == FLOATING_CONSTANT_KIND] == [0x18]


def test_lines_of_a_disassembly() -> None:
    lines = ["", "0000000000001000 <_Zf>:", "    1004:\t74 05                \tje     100b <_Zf+0xb>"]
    assert list(instructions_of(lines)) == [("_Zf", 0x1000, Instruction(0x1004, b"\x74\x05", "je     100b <_Zf+0xb>"))]


def test_folders_and_lines_take_turns() -> None:
    def mutant(folder: str, line: int, number: int) -> Mutant:
        name = f"{folder} {line} {number}"
        return Mutant(name, folder, f"{folder}/x.cpp", line, "f", number, Change(0, b"", "condition", ""))

    mutants = [mutant("nav", line, number) for line in (1, 2) for number in range(9)] + [mutant("can", 1, 0)]
    ordered = in_random_order(mutants, seed=1)
    assert {one.folder for one in ordered[:2]} == {"nav", "can"}
    assert {one.line for one in [one for one in ordered if one.folder == "nav"][:2]} == {1, 2}
    assert ordered == in_random_order(list(reversed(mutants)), seed=1)
    assert ordered != in_random_order(mutants, seed=2)


def test_a_run_goes_on_where_it_was(tmp_path: Path) -> None:
    path = tmp_path / "results.jsonl"
    entry = {"name": "a", "folder": "nav", "file": "nav/x.cpp", "line": 1, "kind": "constant", "what": "0 + 1"}
    results = Results(path)
    results.add(entry | {"result": "survived", "text": "x = 0;"})
    results.add(entry | {"name": "b", "result": "killed"})
    with path.open("a") as file:
        file.write('{"name": "c", "res')
    again = Results(path)
    assert list(again.entries) == ["a", "b"]
    list_of_equivalents = tmp_path / "equivalent.tsv"
    assert "50.0%" in report(again, Equivalents(list_of_equivalents), tmp_path)
    list_of_equivalents.write_text("nav/x.cpp\tx = 0;\t*\tit is not read\n")
    assert "100.0%" in report(again, Equivalents(list_of_equivalents), tmp_path)
    results.add(entry | {"result": "killed"})
    assert Results(path).survivors() == []
