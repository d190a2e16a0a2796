from typing import Any

version: str
call_lock: Any
