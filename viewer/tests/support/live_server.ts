// Serves a page and sends events to it, as mien live does.

import type { Server, ServerResponse } from "node:http";
import { createServer } from "node:http";
import type { AddressInfo } from "node:net";
import type { PageData } from "../../src/data/contract";
import { template } from "./browser";
import type { PageBytes } from "./encode_page";
import { fillPage } from "./encode_page";

export class LiveServer {
  private readonly streams = new Set<ServerResponse>();

  private constructor(private readonly server: Server) {}

  static async start(data: PageData, bytes: PageBytes): Promise<LiveServer> {
    const page = fillPage(template, data, bytes).replace("connect-src blob:", "connect-src blob: 'self'");
    const server = createServer((request, response) => {
      if (request.url === "/events") {
        response.writeHead(200, { "content-type": "text/event-stream" });
        response.write(":\n\n");
        live.streams.add(response);
        response.on("close", () => live.streams.delete(response));
      } else {
        response.writeHead(200, { "content-type": "text/html; charset=utf-8" }).end(page);
      }
    });
    const live = new LiveServer(server);
    await new Promise<void>((listening) => server.listen(0, "127.0.0.1", listening));
    return live;
  }

  get address(): string {
    return `http://127.0.0.1:${(this.server.address() as AddressInfo).port}/`;
  }

  get readers(): number {
    return this.streams.size;
  }

  send(event: string, data: unknown): void {
    for (const stream of this.streams) stream.write(`event: ${event}\ndata: ${JSON.stringify(data)}\n\n`);
  }

  /** Ends the streams; without `stays` the server as well. */
  stop(stays = false): void {
    for (const stream of this.streams) stream.destroy();
    if (stays) return;
    this.server.close();
    this.server.closeAllConnections();
  }
}
