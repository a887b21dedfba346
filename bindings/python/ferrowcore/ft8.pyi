from dataclasses import dataclass
from typing import Optional

from ._objects import Path

FT8: int
FT4: int

@dataclass(frozen=True)
class Decode:
    frequency: float
    time: float
    snr: float
    payload: bytes

class Calls:
    def add(self, call: str) -> None: ...
    def show(self, width: int, value: int) -> str: ...

def decode(path: Path, variant: int = ...) -> list[Decode]: ...
def crc12(data: bytes) -> int: ...
def text(payload: bytes, calls: Optional[Calls] = ...) -> Optional[str]: ...
