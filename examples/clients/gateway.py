# SPDX-License-Identifier: Apache-2.0
"""The process `mercato rpc`, and requests to it. Any thread may ask; the answers come in the order of the requests."""
import itertools
import json
import subprocess
import threading
from concurrent.futures import Future
from typing import Any


class Failure(Exception):
    """What the gateway answers instead of a result. Where the library raised, `number`, `source` and `description` are the
    library's own, and `data` has what else is told of the call; else they are None."""

    def __init__(self, error: dict[str, Any]):
        super().__init__(error["message"])
        self.code: int = error["code"]
        self.data: dict[str, Any] = error.get("data") or {}
        self.number: int | None = self.data.get("number")
        self.source: str | None = self.data.get("source")
        self.description: str | None = self.data.get("description")


class Gateway:
    def __init__(self, *options: str, program: str = "mercato"):
        """`options` stand behind the command: `Gateway("--store", "shop.db")`."""
        self._process = subprocess.Popen([program, "rpc", *options], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         text=True, encoding="utf-8")
        self._ids = itertools.count(1)
        self._waiting: dict[int, Future] = {}
        self._lock = threading.Lock()
        threading.Thread(target=self._read, daemon=True).start()

    def send(self, method: str, params: dict[str, Any]) -> tuple[int, Future]:
        """Sends a request, and returns its id, which `cancel` takes, and what will have its result."""
        answer: Future = Future()
        with self._lock:
            number = next(self._ids)
            self._waiting[number] = answer
            request = {"jsonrpc": "2.0", "id": number, "method": method, "params": params}
            self._process.stdin.write(json.dumps(request) + "\n")
            self._process.stdin.flush()
        return number, answer

    def request(self, method: str, params: dict[str, Any]) -> Any:
        return self.send(method, params)[1].result()

    def _read(self) -> None:
        for line in self._process.stdout:
            answer = json.loads(line)
            waiting = self._waiting.pop(answer["id"])
            if "error" in answer:
                waiting.set_exception(Failure(answer["error"]))
            else:
                waiting.set_result(answer["result"])
        for waiting in self._waiting.values():
            waiting.set_exception(EOFError("the gateway has ended"))

    def close(self) -> None:
        self._process.stdin.close()
        self._process.wait()

    def __enter__(self):
        return self

    def __exit__(self, *failure: object) -> None:
        self.close()
