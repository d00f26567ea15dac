"""Image-processing nodes, called one at a time on NumPy arrays."""

from typing import Any, Mapping, Sequence, TypedDict, Union

import numpy
from numpy.typing import NDArray

Frame = Union[NDArray[numpy.uint8], NDArray[numpy.float32], NDArray[numpy.int32]]
Rectangle = tuple[float, float, float, float]
Mask = tuple[tuple[int, int, int, int], NDArray[numpy.uint8]]
Value = Union[
    Frame, str, bytes, int, float, bool, Rectangle, Mask, tuple[float, float], list[int], list[str | bytes],
    list[tuple[float, float]], list[Rectangle], list[Mask], list[NDArray[numpy.uint8]], list[list[tuple[int, int]]],
]
OptionValue = Union[bool, int, float, str, bytes, Sequence["OptionValue"]]

class Option(TypedDict):
    name: str
    type: str
    optional: bool
    defaultValue: str

class Input(Option):
    internal: bool
    streamType: int

class Output(Input):
    limit: int

class Template(TypedDict):
    kind: str
    parameter: str
    choices: dict[str, str]

class Specification(TypedDict):
    name: str
    inputs: dict[str, Input]
    outputs: dict[str, Output]
    options: dict[str, Option]
    templates: list[Template]
    classCode: int
    baseType: str
    parallelCode: int

class Error(RuntimeError): ...
class GuardError(RuntimeError): ...

def nodes() -> list[str]: ...
def describe(type: str) -> str: ...
def specification(type: str) -> Specification: ...
def call(
    type: str,
    inputs: Mapping[str, Value],
    options: Mapping[str, OptionValue] = {},
    outputs: Sequence[str] | None = None,
    *,
    trust: bool = False,
) -> dict[str, Any]: ...
def targets() -> list[str]: ...
def use_target(name: str) -> None: ...

class Node:
    def __init__(
        self,
        type: str,
        options: Mapping[str, OptionValue] = {},
        inputs: Sequence[str] | None = None,
        outputs: Sequence[str] | None = None,
        *,
        trust: bool = False,
    ) -> None: ...
    def process(self, **inputs: Value) -> dict[str, Any]: ...
    def set_option(self, name: str, value: OptionValue) -> None: ...
    def flush(self) -> None: ...
