// Long work on the page's only thread is cut into slices, so that it stays responsive.

const sliceMs = 12;
let sliceEnd = 0;

/** Between two steps of long work: lets the browser handle input and draw if the slice is used up. */
export async function breathe(): Promise<void> {
  if (performance.now() < sliceEnd) return;
  await new Promise<void>((resume) => {
    const channel = new MessageChannel(); // timers would wait 4 ms each
    channel.port1.onmessage = () => {
      channel.port1.close();
      resume();
    };
    channel.port2.postMessage(0);
  });
  sliceEnd = performance.now() + sliceMs;
}
