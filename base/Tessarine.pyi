# Type stubs of vantrel.base.Tessarine, in the order of the module's names.
from collections import deque as deque
import time as time, datetime as datetime, re as re, hashlib as hashlib, threading as threading
import array as array, traceback as traceback, sys as sys, json as json, types as types, os as os
import copy as copy, warnings as warnings, importlib as importlib
import prettytable as prettytable, urllib3 as urllib3
from typing import Any, Callable, Iterable

np: Any
_http: urllib3.PoolManager

# --- conversion functions ---

# --- records ---

# --- process data and timing ---

# --- statistics ---

# --- registry ---

# --- failure reporting ---
