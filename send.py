import socket,sys
s=socket.socket(socket.AF_PACKET,socket.SOCK_RAW,0); s.bind(("v0",0))
et=bytes.fromhex(sys.argv[3])
for _ in range(int(sys.argv[1])): s.send((b"\x02\0\0\0\0\1"+b"\x02\0\0\0\0\2"+et).ljust(int(sys.argv[2]),b"\0"))
