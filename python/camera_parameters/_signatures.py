"""What the functions of the extension module take and give, as its stub says it, for `help` and `inspect`."""

import ast
import functools
import inspect
import pathlib


class _Type(str):
    """A type as it is written, which signatures show without quotes."""

    __repr__ = str.__str__


def of(qualname):
    """The signature of the function of that name, such as "CameraView.project"; None where the stub does not have it."""
    variants = _functions().get(qualname)
    if not variants:
        return None
    is_static = any(ast.unparse(decorator) == "staticmethod" for decorator in variants[0].decorator_list)
    signatures = [_signature(variant) for variant in variants]
    merged = [parameter.replace(annotation=_either([one.parameters[name].annotation for one in signatures]))
              for name, parameter in signatures[0].parameters.items()]
    if "." in qualname and not is_static:
        merged[0] = merged[0].replace(annotation=inspect.Parameter.empty)
    return inspect.Signature(merged, return_annotation=_either([one.return_annotation for one in signatures]))


@functools.lru_cache(maxsize=None)
def _functions():
    """Qualified name -> the stub's definitions, several for one that is overloaded."""
    try:
        text = pathlib.Path(__file__).with_name("_core.pyi").read_text(encoding="utf-8")
    except OSError:
        return {}
    found = {}
    for node in ast.parse(text).body:
        inside = node.body if isinstance(node, ast.ClassDef) else [node]
        prefix = f"{node.name}." if isinstance(node, ast.ClassDef) else ""
        for one in inside:
            if isinstance(one, ast.FunctionDef):
                found.setdefault(prefix + one.name, []).append(one)
    return found


def _signature(definition):
    """That of one definition: its parameters are positional or keyword, then keyword only."""
    arguments = definition.args
    places = [None] * (len(arguments.args) - len(arguments.defaults)) + arguments.defaults
    parameters = [_parameter(argument, default, inspect.Parameter.POSITIONAL_OR_KEYWORD)
                  for argument, default in zip(arguments.args, places)]
    if arguments.vararg is not None:
        parameters.append(_parameter(arguments.vararg, None, inspect.Parameter.VAR_POSITIONAL))
    parameters += [_parameter(argument, default, inspect.Parameter.KEYWORD_ONLY)
                   for argument, default in zip(arguments.kwonlyargs, arguments.kw_defaults)]
    if arguments.kwarg is not None:
        parameters.append(_parameter(arguments.kwarg, None, inspect.Parameter.VAR_KEYWORD))
    return inspect.Signature(parameters, return_annotation=_type(definition.returns))


def _parameter(argument, default, kind):
    value = inspect.Parameter.empty if default is None else ast.literal_eval(default)
    return inspect.Parameter(argument.arg, kind, default=value, annotation=_type(argument.annotation))


def _type(node):
    return inspect.Parameter.empty if node is None else _Type(ast.unparse(node))


def _either(types):
    """What one of several definitions takes or gives."""
    named = list(dict.fromkeys(one for one in types if one is not inspect.Parameter.empty))
    return _Type(" | ".join(named)) if named else inspect.Parameter.empty
