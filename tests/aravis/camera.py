#!/usr/bin/env python3
"""A GigE Vision camera of this test suite's own, on a loopback address: control by GVCP, frames by GVSP.

It answers discovery and register access, describes itself by a small GenICam document, and from
AcquisitionStart to AcquisitionStop sends frames of noise, which noise() tells to both sides, with
numbers from 1 for each program that takes control.
It resends nothing. "ready" on stdout says that it listens; it ends when stdin does.
"""
import argparse
import fcntl
import os
import select
import socket
import struct
import subprocess
import sys
import threading
import time

GVCP_PORT = 3956
WIDTH, HEIGHT, PIXEL_FORMAT, PAYLOAD_SIZE, START, STOP, MODE, PADDING, PERIOD = range(0x10000, 0x10024, 4)
XML_AT = 0x20000
CONTROL, STREAM_PORT, PACKET_SIZE, STREAM_TO = 0xA00, 0xD00, 0xD04, 0xD18
FORMATS = {"Mono8": 0x01080001, "BayerRG8": 0x01080009, "BayerGB12": 0x01100012, "BayerRG12p": 0x010C0059,
           "Mono12Packed": 0x010C0006, "Mono16": 0x01100007, "RGB8": 0x02180014, "YUV422_8": 0x02100032,
           "RGB10p": 0x021E005C, "Unheard": 0x01234567}

NOISE = 65521  # bytes, a prime: frames begin at different places of it


def noise(number, size):
    """Bytes of frame `number`: byte i of it is byte (number * 4099 + i) % 65521 of a fixed sequence."""
    begin = number * 4099 % NOISE
    return (SEQUENCE * (2 + size // NOISE))[begin:begin + size]


def sequence():
    state, made = 12345, bytearray()
    for _ in range(NOISE):
        state = (state * 1103515245 + 12345) & 0xFFFFFFFF
        made.append(state >> 24)
    return bytes(made)


SEQUENCE = sequence()


def xml():
    entries = "".join(f'<EnumEntry Name="{name}"><Value>{code}</Value></EnumEntry>'
                      for name, code in FORMATS.items())
    integers = {"Width": WIDTH, "Height": HEIGHT, "PayloadSize": PAYLOAD_SIZE}
    nodes = "".join(f'<Integer Name="{name}"><pValue>{name}Reg</pValue></Integer>' for name in integers)
    registers = {**{f"{name}Reg": at for name, at in integers.items()}, "PixelFormatReg": PIXEL_FORMAT,
                 "StartReg": START, "StopReg": STOP, "ModeReg": MODE}
    nodes += "".join(
        f'<IntReg Name="{name}"><Address>{at}</Address><Length>4</Length><AccessMode>RW</AccessMode>'
        f'<pPort>Device</pPort><Cachable>NoCache</Cachable><Sign>Unsigned</Sign>'
        f'<Endianess>BigEndian</Endianess></IntReg>' for name, at in registers.items())
    return f"""<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription xmlns="http://www.genicam.org/GenApi/Version_1_0" ModelName="Loop" VendorName="Tests"
 StandardNameSpace="GEV" SchemaMajorVersion="1" SchemaMinorVersion="0" SchemaSubMinorVersion="1"
 MajorVersion="1" MinorVersion="0" SubMinorVersion="0" ToolTip=""
 ProductGuid="1F3C6A72-7842-4edd-9130-E2E90A2058BA" VersionGuid="1F3C6A72-7842-4edd-9130-E2E90A2058BB">
<Category Name="Root"><pFeature>ImageFormatControl</pFeature></Category>
<Category Name="ImageFormatControl"><pFeature>Width</pFeature><pFeature>Height</pFeature>
<pFeature>PixelFormat</pFeature><pFeature>PayloadSize</pFeature><pFeature>AcquisitionMode</pFeature>
<pFeature>AcquisitionStart</pFeature><pFeature>AcquisitionStop</pFeature></Category>
<Enumeration Name="PixelFormat">{entries}<pValue>PixelFormatReg</pValue></Enumeration>
<Enumeration Name="AcquisitionMode"><EnumEntry Name="Continuous"><Value>1</Value></EnumEntry>
<pValue>ModeReg</pValue></Enumeration>
<Command Name="AcquisitionStart"><pValue>StartReg</pValue><CommandValue>1</CommandValue></Command>
<Command Name="AcquisitionStop"><pValue>StopReg</pValue><CommandValue>1</CommandValue></Command>
{nodes}<Port Name="Device"/></RegisterDescription>""".encode()


def raise_loopback():
    """In a network of its own, as scripts/bare has it, a machine's loopback is down at first."""
    get_flags, set_flags, up = 0x8913, 0x8914, 1
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        name, flags = struct.unpack("16sh14x", fcntl.ioctl(any_socket, get_flags, struct.pack("16sh14x", b"lo", 0)))
        if not flags & up:
            fcntl.ioctl(any_socket, set_flags, struct.pack("16sh14x", name, flags | up))


class Camera:
    def __init__(self, options):
        self.options = options
        self.control = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.control.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.control.bind((options.address, GVCP_PORT))
        self.broadcast = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.broadcast.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.broadcast.bind(("255.255.255.255", GVCP_PORT))
        self.stream = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.stream.bind((options.address, 0))
        self.listening = [self.control, self.broadcast] + ([] if options.run else [sys.stdin])
        self.memory = bytearray(0x40000)
        self.running, self.number, self.due = False, 0, 0.0
        self.describe()

    def describe(self):
        document = xml()
        self.memory[XML_AT:XML_AT + len(document)] = document
        address = struct.unpack(">I", socket.inet_aton(self.options.address))[0]
        for at, value in {0x0: 0x00020000, 0x4: 0x80000001, 0xC: 0xC0FFEE, 0x10: 7, 0x14: 5, 0x24: address,
                          0x34: 0xFF000000, 0x600: 1, 0x904: 1, 0x938: 3000, PACKET_SIZE: 1500,
                          WIDTH: self.options.size[0], HEIGHT: self.options.size[1], MODE: 1,
                          PIXEL_FORMAT: FORMATS[self.options.format], PADDING: self.options.padding,
                          PERIOD: self.options.period}.items():
            self.put(at, value)
        place = f"Local:loop.xml;{XML_AT:x};{len(document):x}"
        for at, text in {0x48: "Tests", 0x68: "Loop", 0x88: "1", 0xD8: self.options.serial, 0x200: place}.items():
            self.memory[at:at + len(text)] = text.encode()
        self.measure()

    def get(self, at):
        return struct.unpack_from(">I", self.memory, at)[0]

    def put(self, at, value):
        struct.pack_into(">I", self.memory, at, value & 0xFFFFFFFF)

    def measure(self):
        """The payload, as this camera sends it: lines of whole bytes, and padding after each."""
        bits = self.get(PIXEL_FORMAT) >> 16 & 0xFF
        if self.options.continuous:
            self.put(PAYLOAD_SIZE, (self.get(WIDTH) * self.get(HEIGHT) * bits + 7) // 8)
        else:
            line = (self.get(WIDTH) * bits + 7) // 8 + self.get(PADDING)
            self.put(PAYLOAD_SIZE, line * self.get(HEIGHT))

    def write(self, at, value, sender):
        self.put(at, value)
        if at in (WIDTH, HEIGHT, PIXEL_FORMAT, PADDING):
            self.measure()
        elif at == PACKET_SIZE:
            self.put(at, value & 0xFFFF)
            if value >> 31:  # a packet that shows whether packets of this size arrive
                self.send(bytes((value & 0xFFFF) - 28))
        elif at == START:
            self.running, self.due = True, time.monotonic()
        elif at == STOP:
            self.running = False
        elif at == CONTROL and value == 0:  # who comes next gets frame 1
            self.running, self.number = False, 0

    def answer(self, listening):
        packet, sender = listening.recvfrom(2048)
        if len(packet) < 8 or packet[0] != 0x42:
            return
        command, _, number = struct.unpack(">HHH", packet[2:8])
        said = packet[8:]
        if command == 0x02:
            reply = bytes(self.memory[:0xF8])
        elif command == 0x80:
            reply = b"".join(bytes(self.memory[at:at + 4]) for (at,) in struct.iter_unpack(">I", said))
        elif command == 0x82:
            pairs = list(struct.iter_unpack(">II", said))
            for at, value in pairs:
                self.write(at, value, sender)
            reply = struct.pack(">HH", 0, len(pairs))
        elif command == 0x84:
            at, count = struct.unpack(">IHH", said)[0::2]
            reply = said[:4] + bytes(self.memory[at:at + count])
        else:
            return
        self.control.sendto(struct.pack(">HHHH", 0, command + 1, len(reply), number) + reply, sender)

    def send(self, packet):
        to = socket.inet_ntoa(struct.pack(">I", self.get(STREAM_TO)))
        self.stream.sendto(packet, (to, self.get(STREAM_PORT) & 0xFFFF))

    def send_frame(self):
        self.number += 1
        if self.options.vanish and self.number > self.options.vanish:
            os._exit(0)
        width, height, size = (self.get(at) for at in (WIDTH, HEIGHT, PAYLOAD_SIZE))
        part = self.get(PACKET_SIZE) - 36
        data = noise(self.number, size)
        def packet(kind, index, rest):
            self.send(struct.pack(">HHI", 0, self.number & 0xFFFF, kind << 24 | index) + rest)
        packet(1, 0, struct.pack(">HHQIIIIIHH", 0, 1, self.number * 1000, self.get(PIXEL_FORMAT), width, height,
                                 0, 0, self.get(PADDING), 0))
        count = (size + part - 1) // part
        lost = self.options.drop and self.number % self.options.drop == 0
        for i in range(count):
            if not (lost and i == count // 2):
                packet(3, i + 1, data[i * part:(i + 1) * part])
        packet(2, count + 1, struct.pack(">HHI", 0, 1, height))

    def run(self):
        print("ready", flush=True)
        while True:
            wait = max(0.0, self.due - time.monotonic()) if self.running else None
            for ready in select.select(self.listening, [], [], wait)[0]:
                if ready is sys.stdin:
                    return
                self.answer(ready)
            if self.running and time.monotonic() >= self.due:
                self.send_frame()
                self.due = max(self.due, time.monotonic() - 0.01) + self.get(PERIOD) / 1e6


def options():
    parser = argparse.ArgumentParser()
    parser.add_argument("--address", default="127.0.0.1")
    parser.add_argument("--serial", default="7")
    parser.add_argument("--size", default="64x6", type=lambda text: tuple(map(int, text.split("x"))))
    parser.add_argument("--format", default="Mono8", choices=FORMATS)
    parser.add_argument("--padding", default=0, type=int, help="bytes after each line")
    parser.add_argument("--continuous", action="store_true", help="lines begin where the one before ends")
    parser.add_argument("--period", default=1000, type=int, help="microseconds from frame to frame")
    parser.add_argument("--drop", default=0, type=int, help="of every so many frames the last lacks a packet")
    parser.add_argument("--vanish", default=0, type=int, help="gone without a word after so many frames")
    parser.add_argument("--run", nargs=argparse.REMAINDER, help="run a program beside the camera, and end as it does")
    return parser.parse_args()


if __name__ == "__main__":
    said = options()
    raise_loopback()
    camera = Camera(said)
    if said.run is None:
        camera.run()
    else:
        threading.Thread(target=camera.run, daemon=True).start()
        sys.exit(subprocess.run(said.run, timeout=50).returncode)
