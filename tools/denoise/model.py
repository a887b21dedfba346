"""The network in PyTorch, and its way to the weight tables and back."""
import ctypes

import torch
from torch import nn

import scene
import weights


class Rounded(torch.autograd.Function):
    """A table as its signed bytes will hold it; gradients pass as if it were not rounded."""

    @staticmethod
    def forward(context, table):
        step = table.abs().max().clamp_min(1e-12) / 127
        return torch.round(table / step) * step

    @staticmethod
    def backward(context, gradient):
        return gradient


class Recurrence(torch.autograd.Function):
    """A GRU's way through time, by recurrence.cpp: from the inputs' part of the gates (frames, batch, 3 states), in PyTorch's order,
    and the recurrent table to the states (frames, batch, states)."""

    library = None

    @classmethod
    def call(cls, name, gates, size, *tensors):
        if cls.library is None:
            cls.library = scene.Library().library
        sizes = (*gates.shape[:2], size)
        getattr(cls.library, name)(*sizes, *[ctypes.c_void_p(tensor.data_ptr()) for tensor in tensors])

    @classmethod
    def forward(cls, context, gates, table):
        frames, batch, size = gates.shape[0], gates.shape[1], table.shape[1]
        states = gates.new_zeros(frames + 1, batch, size)
        known, recalled = torch.empty_like(gates), gates.new_empty(frames, batch, size)
        cls.call("recurrenceForward", gates, size, gates.contiguous(), table.T.contiguous(), states, known, recalled)
        context.save_for_backward(table, states, known, recalled)
        return states[1:]

    @classmethod
    def backward(cls, context, gradient):
        table, states, known, recalled = context.saved_tensors
        inner, outer = torch.empty_like(known), torch.empty_like(known)  # of the recurrent product, of the inputs' gates
        size = table.shape[1]
        cls.call("recurrenceBackward", known, size, gradient.contiguous(), table.contiguous(), states, known, recalled, outer, inner)
        return outer, inner.view(-1, 3 * size).T @ states[:-1].reshape(-1, size)


class Network(nn.Module):
    """Layers as trx/denoise/network.hpp has them. A GRU of PyTorch is the same one, with its second bias at zero."""

    def __init__(self):
        super().__init__()
        for name, _, inputs, columns, state in weights.LAYERS:
            if state:
                layer = nn.GRU(inputs, state, batch_first=True)
                nn.init.zeros_(layer.bias_hh_l0)
                nn.init.zeros_(layer.bias_ih_l0)
                with torch.no_grad():
                    layer.bias_ih_l0[state:2 * state] = 1.0
                layer.bias_hh_l0.requires_grad_(False)
            else:
                layer = nn.Linear(inputs, columns)
            setattr(self, name, layer)

    def forward(self, features):
        """Features (batch, frames, 42) to gains (batch, frames, 22), voice (batch, frames), both before their sigmoids."""
        features = features.transpose(0, 1).contiguous()
        dense = torch.tanh(self.input_dense(features))
        vad = self.through(self.vad_gru, dense)
        noise = self.through(self.noise_gru, torch.cat((dense, vad, features), 2))
        denoise = self.through(self.denoise_gru, torch.cat((vad, noise, features), 2))
        return self.denoise_output(denoise).transpose(0, 1), self.vad_output(vad)[..., 0].T

    @staticmethod
    def through(layer, x):
        return Recurrence.apply(nn.functional.linear(x, layer.weight_ih_l0, layer.bias_ih_l0), layer.weight_hh_l0)

    def tables(self):
        """Trainable tables; all of them are rounded for the library."""
        return [p for p in self.parameters() if p.requires_grad]

    def layers(self):
        """As weights.py takes them. PyTorch's order of gates is ours."""
        out = {}
        for name, _, _, _, state in weights.LAYERS:
            layer = getattr(self, name)
            pick = (lambda p: p.detach().cpu().double().numpy().T.copy())
            if state:
                out[name] = {"input": pick(layer.weight_ih_l0), "recurrent": pick(layer.weight_hh_l0),
                             "bias": pick(layer.bias_ih_l0)}
            else:
                out[name] = {"input": pick(layer.weight), "bias": pick(layer.bias)}
        return out

    def take(self, layers):
        """The opposite of layers()."""
        with torch.no_grad():
            for name, _, _, _, state in weights.LAYERS:
                layer, given = getattr(self, name), {part: torch.from_numpy(t.T.copy()) for part, t in layers[name].items()}
                if state:
                    layer.weight_ih_l0.copy_(given["input"])
                    layer.weight_hh_l0.copy_(given["recurrent"])
                    layer.bias_ih_l0.copy_(given["bias"])
                else:
                    layer.weight.copy_(given["input"])
                    layer.bias.copy_(given["bias"])


class RoundedWeights:
    """While it lasts the network computes with rounded tables; afterwards it has its own back."""

    def __init__(self, network):
        self.tables = network.tables()

    def __enter__(self):
        self.kept = [table.data for table in self.tables]
        for table in self.tables:
            table.data = Rounded.apply(table.data)

    def __exit__(self, *_):
        for table, kept in zip(self.tables, self.kept):
            table.data = kept
